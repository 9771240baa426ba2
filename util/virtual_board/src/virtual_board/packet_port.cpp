#include "virtual_board/packet_port.h"

#include <osl/ts_basics/ll_tspackets.h>

#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <string>
#include <unistd.h>
#include <utility>

namespace Osl::VirtualBoard {

namespace PktIoReg = Drivers::Zeb::PktIoReg;

namespace {

constexpr uint32_t RELEASE_BIT = 1;
constexpr unsigned TSI_SHIFT = 24; ///< of the header word

LinuxCppUtil::UniqueFD reopen(const LinuxCppUtil::UniqueFD& pipe, int access)
{
    return LinuxCppUtil::makeUniqueFD("/proc/self/fd/" + std::to_string(*pipe), access | O_NONBLOCK | O_CLOEXEC);
}

} // namespace

PacketPort::PacketPort(volatile uint32_t* registers, LinuxCppUtil::UniqueFD stream)
    : m_Registers(registers),
      m_Stream(std::move(stream))
{
    m_Registers[PktIoReg::RX_STATUS] = 0; // a board that was killed may have left them
    m_Registers[PktIoReg::TX_STATUS] = 0;
    if (m_Stream)
        m_StreamWriter = reopen(m_Stream, O_WRONLY);
}

/// While there is nothing to tell, the word is anybody's.
void PacketPort::setStatus(uint32_t word, bool before, bool now)
{
    if (before || now)
        m_Registers[word] = now ? 1 : 0;
}

void PacketPort::setUsers(bool receiving, bool sending)
{
    m_Receiving = receiving;
    show();
    setStatus(PktIoReg::TX_STATUS, std::exchange(m_Sending, sending), sending);
}

/// Shows the first packet that waits, if anybody is there to take it.
void PacketPort::show()
{
    const bool shown = m_Receiving && !m_Waiting.empty();
    if (shown && !m_Shown) {
        const Record& record = m_Waiting.front();
        m_Registers[PktIoReg::RX_HEADER] = record[0];
        for (uint32_t i = 0; i < PktIoReg::TS_WORDS; ++i)
            m_Registers[PktIoReg::RX_DATA + i] = record[1 + i];
    }
    setStatus(PktIoReg::RX_STATUS, std::exchange(m_Shown, shown), shown);
}

void PacketPort::release()
{
    if (m_Shown) {
        m_Waiting.pop_front();
        setStatus(PktIoReg::RX_STATUS, std::exchange(m_Shown, false), false);
    }
    m_Registers[PktIoReg::RX_CONTROL] = m_Registers[PktIoReg::RX_CONTROL] & ~RELEASE_BIT;
}

void PacketPort::deliver(uint8_t tsi, const uint8_t* packet)
{
    Record record{uint32_t{tsi} << TSI_SHIFT};
    std::memcpy(&record[1], packet, Ts::TS_SIZE);
    const bool full = m_Waiting.size() == REGISTER_QUEUE;
    if (!full)
        m_Waiting.push_back(record);
    m_RegisterLosses.count(full && m_Receiving);
    m_Bytes += sizeof record;
    if (!m_Stream)
        return;
    const bool lost = !toStream(record);
    if (lost && !m_StreamLosses.lostInRound())
        m_ReadAtFirstLoss = streamIsRead();
    m_StreamLosses.count(lost);
}

/// A record is small enough for a pipe to take whole or not at all.
bool PacketPort::toStream(const Record& record)
{
    return ::write(*m_Stream, record.data(), sizeof record) == ssize_t{sizeof record};
}

/// The board reads its pipe as well, so that it outlives other readers, and has to step aside to see them.
bool PacketPort::streamIsRead()
{
    m_Stream.reset();
    pollfd writer{.fd = *m_StreamWriter, .events = POLLOUT, .revents = 0};
    ::poll(&writer, 1, 0);
    m_Stream = reopen(m_StreamWriter, O_RDWR);
    return (writer.revents & POLLERR) == 0;
}

std::vector<std::string> PacketPort::losses(Clock::time_point now, bool everything)
{
    const bool read = (m_StreamLosses.lostInRound() || m_StreamLosses.hasToTell()) && streamIsRead();
    m_StreamLosses.endRound(read && m_ReadAtFirstLoss, now);
    m_RegisterLosses.endRound(m_Receiving, now);
    std::vector<std::string> reports;
    // What a capture missed is told when it ends.
    for (const auto& [losses, capturing] : {std::pair(&m_StreamLosses, read), {&m_RegisterLosses, m_Receiving}})
        if (std::string report = losses->report(now, everything || !capturing); !report.empty())
            reports.push_back(std::move(report));
    return reports;
}

/// Forgets every packet that nobody has taken yet.
void PacketPort::reset()
{
    m_Waiting.clear();
    show();
    Record record{};
    while (m_Stream && ::read(*m_Stream, record.data(), sizeof record) > 0)
        continue;
}

bool PacketPort::serve(const std::function<void(const Record&)>& send)
{
    bool busy = false;
    if ((m_Registers[PktIoReg::RX_CONTROL] & RELEASE_BIT) != 0) {
        release();
        busy = true;
    }
    if (!m_Shown)
        show();
    if (m_Registers[PktIoReg::TX_CONTROL] != 0) {
        Record record{m_Registers[PktIoReg::TX_HEADER]};
        for (uint32_t i = 0; i < PktIoReg::TS_WORDS; ++i)
            record[1 + i] = m_Registers[PktIoReg::TX_DATA + i];
        m_Registers[PktIoReg::TX_CONTROL] = 0;
        send(record);
        busy = true;
    }
    if (m_Registers[PktIoReg::RESET] != 0)
        reset();
    return busy;
}

} // namespace Osl::VirtualBoard
