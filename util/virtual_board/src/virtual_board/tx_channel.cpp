#include "virtual_board/tx_channel.h"

#include <fmt/format.h>

#include <algorithm>
#include <unistd.h>
#include <utility>

namespace Osl::VirtualBoard {
namespace {

constexpr std::size_t READ_SIZE = 1 << 15;

} // namespace

TxChannel::TxChannel(unsigned number, LinuxCppUtil::UniqueFD device, Send send, Complain complain)
    : m_Number(number),
      m_Device(std::move(device)),
      m_Send(std::move(send)),
      m_Complain(std::move(complain)),
      m_ReadBuffer(READ_SIZE)
{
}

TxChannel::Clock::time_point TxChannel::at(int64_t ticks) const
{
    return m_Origin + std::chrono::duration_cast<Clock::duration>(Ticks(ticks));
}

/// Lets time start anew when it is too late for what comes now. A new sender's time starts when it likes.
void TxChannel::catchUp()
{
    if (at(m_NextTicks) < m_Now) {
        if (m_NextTicks != 0 && !m_Fresh)
            ++m_Underruns;
        m_Origin = m_Now;
        m_NextTicks = 0;
    }
    m_Fresh = false;
}

void TxChannel::onSegment(uint32_t spacing, uint32_t remainder)
{
    m_NextTicks += m_Remainder;
    m_Spacing = spacing;
    m_Remainder = remainder;
    catchUp();
}

void TxChannel::onPacket(uint32_t header, const uint8_t* packet)
{
    catchUp();
    Packet waiting{.due = at(m_NextTicks), .header = header, .bytes = {}};
    std::copy_n(packet, Ts::TS_SIZE, waiting.bytes.begin());
    m_Packets.push_back(waiting);
    m_NextTicks += m_Spacing;
}

void TxChannel::onGarbage(std::size_t bytes)
{
    m_Complain(fmt::format("TX channel {}: {} bytes were neither segment head nor packet record", m_Number, bytes));
}

void TxChannel::onTruncated(std::size_t bytes)
{
    m_Complain(fmt::format("TX channel {}: the sender ended inside a transfer; its last {} bytes are dropped", m_Number,
                           bytes));
}

bool TxChannel::read(Clock::time_point now)
{
    const ssize_t count = ::read(*m_Device, m_ReadBuffer.data(), m_ReadBuffer.size());
    if (count == 0 && !m_Ended) {
        m_Parser.end();
        m_Fresh = true;
    }
    m_Ended = count == 0;
    if (count <= 0)
        return false;
    m_Now = now;
    m_Bytes += static_cast<std::size_t>(count);
    m_Parser.feed(std::span(m_ReadBuffer).first(static_cast<std::size_t>(count)));
    return true;
}

bool TxChannel::serve(Clock::time_point now)
{
    bool busy = false;
    while (wantsData() && read(now))
        busy = true;
    while (hasPackets() && nextDue() <= now) {
        m_Send(m_Packets.front().header, m_Packets.front().bytes.data());
        m_Packets.pop_front();
        busy = true;
    }
    return busy;
}

} // namespace Osl::VirtualBoard
