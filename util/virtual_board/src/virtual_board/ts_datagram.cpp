#include "virtual_board/ts_datagram.h"

namespace Osl::VirtualBoard {
namespace {

constexpr uint8_t RTP_VERSION = 2; ///< top two bits of the first byte
constexpr unsigned VERSION_SHIFT = 6;
constexpr uint8_t PADDING_BIT = 0x20;
constexpr uint8_t EXTENSION_BIT = 0x10;
constexpr uint8_t SOURCES_MASK = 0x0F;
constexpr uint8_t TS_PAYLOAD_TYPE = 33;
constexpr std::size_t WORD = 4; ///< bytes of a contributing source, an extension's head and unit

bool isTs(std::span<const uint8_t> bytes)
{
    if (bytes.empty() || bytes.size() % Ts::TS_SIZE != 0)
        return false;
    for (std::size_t at = 0; at < bytes.size(); at += Ts::TS_SIZE)
        if (bytes[at] != Ts::SYNC_BYTE)
            return false;
    return true;
}

std::span<const uint8_t> rtpPayload(std::span<const uint8_t> datagram)
{
    if (datagram.size() < RTP_HEADER_SIZE || datagram[0] >> VERSION_SHIFT != RTP_VERSION)
        return {};
    std::size_t begin = RTP_HEADER_SIZE + WORD * (datagram[0] & SOURCES_MASK);
    if ((datagram[0] & EXTENSION_BIT) != 0) {
        if (begin + WORD > datagram.size())
            return {};
        const std::size_t words = static_cast<std::size_t>(datagram[begin + 2]) << 8 | datagram[begin + 3];
        begin += WORD + WORD * words;
    }
    const std::size_t padding = (datagram[0] & PADDING_BIT) != 0 ? datagram.back() : 0;
    if (begin + padding > datagram.size())
        return {};
    return datagram.subspan(begin, datagram.size() - begin - padding);
}

void store(uint8_t* to, uint32_t value, std::size_t bytes)
{
    for (std::size_t i = bytes; i-- > 0; value >>= 8)
        to[i] = static_cast<uint8_t>(value);
}

} // namespace

std::span<const uint8_t> tsPacketsIn(std::span<const uint8_t> datagram)
{
    if (isTs(datagram))
        return datagram;
    const std::span<const uint8_t> payload = rtpPayload(datagram);
    return isTs(payload) ? payload : std::span<const uint8_t>();
}

void writeRtpHeader(uint8_t* to, const RtpStamp& stamp)
{
    to[0] = RTP_VERSION << VERSION_SHIFT;
    to[1] = TS_PAYLOAD_TYPE;
    store(to + 2, stamp.sequence, 2);
    store(to + 4, stamp.time, 4);
    store(to + 8, stamp.source, 4);
}

} // namespace Osl::VirtualBoard
