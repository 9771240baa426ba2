#pragma once

#include <cstdint>
#include <source_location>
#include <string_view>

namespace Osl::Drivers::Zeb {

/// `value`, when it lies in min..max; otherwise raises ZebDriverError with `text`, the value and ")", as from `where`.
uint32_t inRange(uint32_t value, uint32_t min, uint32_t max, std::string_view text,
                 const std::source_location& where = std::source_location::current());

} // namespace Osl::Drivers::Zeb
