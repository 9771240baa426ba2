#pragma once

#include "zeb_fpga_shell/pktio/timing.h"

#include <chrono>
#include <functional>

namespace Osl::Testing {

/// A clock that moves only when something waits; tests can act on each wait.
class FakeTiming
{
public:
    Utils::Timing timing()
    {
        return {.now = [this] { return time; },
                .wait =
                    [this](Utils::Timing::Duration duration, const std::function<bool()>& stopped) {
                        time += duration;
                        onWait();
                        return !stopped();
                    }};
    }

    std::chrono::steady_clock::time_point time;
    std::function<void()> onWait = [] {};
};

} // namespace Osl::Testing
