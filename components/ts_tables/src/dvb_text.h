#pragma once

#include <cstdint>
#include <span>
#include <string>

namespace Osl::Ts {

/// A text of a DVB table (ETSI EN 300 468, annex A) as UTF-8 that a terminal only shows: what would command it is left
/// out, and what cannot be told is "?".
std::string dvbText(std::span<const uint8_t> bytes);

} // namespace Osl::Ts
