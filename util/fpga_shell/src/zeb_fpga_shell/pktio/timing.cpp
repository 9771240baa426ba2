#include "zeb_fpga_shell/pktio/timing.h"

#include <algorithm>
#include <thread>

namespace Osl::Utils {

using Clock = std::chrono::steady_clock;

Timing Timing::real()
{
    return {.now = &Clock::now, .wait = [](Duration duration, const std::function<bool()>& stopped) {
                constexpr std::chrono::milliseconds SLICE(20);
                const Clock::time_point end = Clock::now() + duration;
                for (auto time = Clock::now(); time < end && !stopped(); time = Clock::now())
                    std::this_thread::sleep_until(std::min(end, time + SLICE));
                return !stopped();
            }};
}

} // namespace Osl::Utils
