#include "virtual_board/byte_counter.h"

#include "virtual_board/whole_file.h"

#include <fstream>
#include <string>

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
    if (replaceFile(m_File, std::to_string(m_Start + bytes) + '\n'))
        m_Shown = bytes;
}

} // namespace Osl::VirtualBoard
