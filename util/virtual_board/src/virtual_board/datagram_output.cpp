#include "virtual_board/datagram_output.h"

#include <algorithm>

namespace Osl::VirtualBoard {
namespace {

using RtpTicks = std::chrono::duration<int64_t, std::ratio<1, 90'000>>;
constexpr uint32_t RTP_SOURCE = 0x5A454200; ///< and the TSO

} // namespace

void DatagramOutput::add(uint8_t tso, const DatagramTarget& target, const uint8_t* packet, Clock::time_point now)
{
    Stream& stream = m_Streams[tso];
    if (stream.packets != 0 && stream.target != target)
        send(tso, stream);
    if (stream.packets == 0) {
        stream.target = target;
        stream.begun = now;
    }
    std::copy_n(packet, Ts::TS_SIZE, stream.bytes.begin() + RTP_HEADER_SIZE + stream.packets * Ts::TS_SIZE);
    if (++stream.packets == PACKETS_PER_DATAGRAM)
        send(tso, stream);
}

void DatagramOutput::send(uint8_t tso, Stream& stream)
{
    const std::span<const uint8_t> bytes(stream.bytes.data(), RTP_HEADER_SIZE + stream.packets * Ts::TS_SIZE);
    if (stream.target.rtp) {
        const auto time = std::chrono::floor<RtpTicks>(stream.begun.time_since_epoch());
        writeRtpHeader(
            stream.bytes.data(),
            {.sequence = stream.sequence++, .time = static_cast<uint32_t>(time.count()), .source = RTP_SOURCE + tso});
        m_Send(stream.target, bytes);
    } else {
        m_Send(stream.target, bytes.subspan(RTP_HEADER_SIZE));
    }
    stream.packets = 0;
}

void DatagramOutput::flush(Clock::time_point now)
{
    for (auto& [tso, stream] : m_Streams)
        if (stream.packets != 0 && now - stream.begun >= MAX_WAIT)
            send(tso, stream);
}

} // namespace Osl::VirtualBoard
