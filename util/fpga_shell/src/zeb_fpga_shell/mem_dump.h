#pragma once

#include <cstdint>
#include <ostream>
#include <vector>

namespace Osl::Utils {

/// Writes `words`, read from word offset `firstOffset` on, in lines of 16 bytes: the line's offset, then each value in
/// hexadecimal digits of its full width. A block that ends with a full line is followed by an empty one.
/// `Word` is uint8_t, uint16_t or uint32_t.
template <class Word>
void dumpWords(std::ostream& out, uint32_t firstOffset, const std::vector<Word>& words);

} // namespace Osl::Utils
