#include <osl/ts_basics/ll_tspackets.h>
#include <osl/ts_streaming/inputs/loop_filler.h>

#include <algorithm>
#include <utility>

namespace Osl::Ts::Streaming {

LoopFiller::LoopFiller(std::unique_ptr<ITsReader> source, uint64_t packetsInFile)
    : m_Source(std::move(source)),
      m_PacketsInFile(packetsInFile)
{
}

/// Some packets of the file, none of them behind its end.
std::span<uint8_t> LoopFiller::readFile(std::span<uint8_t> buffer)
{
    const uint64_t packets = std::min<uint64_t>(buffer.size() / TS_SIZE, m_PacketsInFile - m_Index);
    const auto data = m_Source->read(buffer.first(static_cast<std::size_t>(packets * TS_SIZE)));
    m_Index += data.size() / TS_SIZE;
    if (m_FirstPass) {
        m_Seam.examine(data);
        if (m_Index == m_PacketsInFile) {
            m_Seam.plan();
            m_FirstPass = false;
        }
    }
    return data;
}

std::span<uint8_t> LoopFiller::read(std::span<uint8_t> buffer)
{
    if (!m_FirstPass && m_Index == m_PacketsInFile + m_Seam.packets())
        m_Index = 0;
    if (m_Index < m_PacketsInFile)
        return readFile(buffer);
    const uint64_t first = m_Index - m_PacketsInFile;
    const auto packets = std::min<uint64_t>(buffer.size() / TS_SIZE, m_Seam.packets() - first);
    const auto data = buffer.first(static_cast<std::size_t>(packets * TS_SIZE));
    m_Seam.copy(first, data);
    m_Index += packets;
    return data;
}

} // namespace Osl::Ts::Streaming
