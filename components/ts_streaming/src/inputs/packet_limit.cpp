#include <osl/ts_basics/ll_tspackets.h>
#include <osl/ts_streaming/inputs/packet_limit.h>

#include <algorithm>
#include <utility>

namespace Osl::Ts::Streaming {

PacketLimit::PacketLimit(std::unique_ptr<ITsReader> source, uint64_t packets)
    : m_Source(std::move(source)),
      m_PacketsLeft(packets)
{
}

std::span<uint8_t> PacketLimit::read(std::span<uint8_t> buffer)
{
    if (m_PacketsLeft == 0)
        OSL_RAISE(ReadException, "File contains no more data", ReadReason::END_OF_DATA);
    const uint64_t packets = std::min<uint64_t>(m_PacketsLeft, buffer.size() / TS_SIZE);
    const std::span<uint8_t> data = m_Source->read(buffer.first(static_cast<std::size_t>(packets * TS_SIZE)));
    m_PacketsLeft -= data.size() / TS_SIZE;
    return data;
}

} // namespace Osl::Ts::Streaming
