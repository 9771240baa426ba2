#pragma once

#include <cstdint>
#include <string_view>

namespace Osl::Drivers::Zeb {

/// `value`, when it lies in min..max; otherwise raises ZebDriverError with `text`, the value and ")", as from the
/// caller.
uint32_t inRange(uint32_t value, uint32_t min, uint32_t max, std::string_view text, const char* file = __builtin_FILE(),
                 int line = __builtin_LINE());

} // namespace Osl::Drivers::Zeb
