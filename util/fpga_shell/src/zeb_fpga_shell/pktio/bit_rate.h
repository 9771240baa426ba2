#pragma once

#include <cstdint>
#include <string>

namespace Osl::Utils {

enum class RateUnit {
    SCALED,     ///< " Mbit/s ", " kbit/s " or " bit/s " after the size of the rate
    PLAIN_BITS, ///< bit/s without a word
};

/// What was counted in a stretch of time: "10.00 Mbit/s (1250000 bytes in 1.00 seconds)".
std::string describeRate(uint64_t bytes, double seconds, RateUnit unit = RateUnit::SCALED);

/// A rate with its unit, "10.00 Mbit/s"; 0 seconds count as no rate.
std::string rateText(uint64_t bytes, double seconds);

} // namespace Osl::Utils
