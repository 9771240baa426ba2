#include "zeb_fpga_shell/mem_dump.h"

#include <osl/cpputils/append_format.h>

#include <string>

namespace Osl::Utils {

template <class Word>
void dumpWords(std::ostream& out, uint32_t firstOffset, const std::vector<Word>& words)
{
    constexpr std::size_t WORDS_PER_LINE = 16 / sizeof(Word);
    constexpr std::size_t DIGITS = 2 * sizeof(Word);
    std::string line;
    for (std::size_t i = 0; i < words.size() && out; ++i) {
        if (i % WORDS_PER_LINE == 0)
            line = fmt::format("0x{:08x}:  ", firstOffset + static_cast<uint32_t>(i));
        CppUtil::appendFormat(line, "0x{:0{}x} ", words[i], DIGITS);
        if (i % WORDS_PER_LINE == WORDS_PER_LINE - 1) {
            out << line << std::endl;
            line.clear();
        }
    }
    out << line << std::endl;
}

template void dumpWords(std::ostream&, uint32_t, const std::vector<uint8_t>&);
template void dumpWords(std::ostream&, uint32_t, const std::vector<uint16_t>&);
template void dumpWords(std::ostream&, uint32_t, const std::vector<uint32_t>&);

} // namespace Osl::Utils
