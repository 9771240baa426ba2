#include "virtual_board/byte_counter.h"

#include <cstdio>
#include <fstream>

namespace Osl::VirtualBoard {

uint64_t ByteCounter::readFile() const
{
    std::ifstream file(m_File);
    uint64_t bytes = 0;
    file >> bytes;
    return file ? bytes : 0;
}

void ByteCounter::show(uint64_t bytes)
{
    if (bytes == m_Shown)
        return;
    const std::filesystem::path draft = m_File.string() + ".new";
    std::ofstream(draft) << m_Start + bytes << '\n';
    if (std::rename(draft.c_str(), m_File.c_str()) == 0)
        m_Shown = bytes;
}

} // namespace Osl::VirtualBoard
