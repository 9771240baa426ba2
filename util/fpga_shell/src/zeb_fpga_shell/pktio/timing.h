#pragma once

#include <chrono>
#include <functional>

namespace Osl::Utils {

/// Time as a command sees it; tests put their own in.
struct Timing
{
    using Duration = std::chrono::steady_clock::duration;

    /// Monotonic: a rate must not be wrong because the system's clock was set meanwhile.
    std::function<std::chrono::steady_clock::time_point()> now;
    /// Waits for `duration`, less when `stopped` returns true, which it is asked often enough for Ctrl-C to feel
    /// immediate. Returns false when stopped.
    std::function<bool(Duration duration, const std::function<bool()>& stopped)> wait;

    /// The real one.
    static Timing real();
};

inline double inSeconds(Timing::Duration duration) { return std::chrono::duration<double>(duration).count(); }

inline double secondsBetween(std::chrono::steady_clock::time_point first, std::chrono::steady_clock::time_point second)
{
    return inSeconds(second - first);
}

} // namespace Osl::Utils
