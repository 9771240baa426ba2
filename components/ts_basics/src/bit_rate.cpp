#include <osl/ts_basics/bit_rate.h>

#include <fmt/format.h>

namespace Osl::Ts {

std::string bitRateText(double bitsPerSecond)
{
    if (bitsPerSecond >= 1e6)
        return fmt::format("{:.2f} Mbit/s", bitsPerSecond / 1e6);
    if (bitsPerSecond >= 1e3)
        return fmt::format("{:.2f} kbit/s", bitsPerSecond / 1e3);
    return fmt::format("{:.2f} bit/s", bitsPerSecond);
}

} // namespace Osl::Ts
