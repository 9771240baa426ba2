#pragma once

#include <string>

namespace Osl::Ts {

/// A rate for people: "3.21 Mbit/s", "15.04 kbit/s", "376.00 bit/s".
std::string bitRateText(double bitsPerSecond);

} // namespace Osl::Ts
