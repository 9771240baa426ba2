#pragma once

#include "virtual_board/loss_meter.h"

#include <osl/linutils/raii_filedescriptors.h>
#include <osl/userspace_drivers/drivers/zeb/ts/packetiodriver.h>

#include <array>
#include <chrono>
#include <cstdint>
#include <deque>
#include <functional>
#include <vector>

namespace Osl::VirtualBoard {

/// The packet port's FPGA side: hands packets to the processor, through both the stream device and the registers, and
/// takes packets from its registers.
class PacketPort
{
public:
    using Record = std::array<uint32_t, Drivers::Zeb::PktIODriver::TOTAL_PKT_SIZE / sizeof(uint32_t)>;
    using Clock = std::chrono::steady_clock;

    static constexpr std::size_t REGISTER_QUEUE = 256; ///< packets that wait for the registers; newer ones are lost

    /// `registers` are the port's words and must outlive it. `stream` is the stream device's other end, open for both
    /// directions, which must not block; empty when nothing serves that.
    PacketPort(volatile uint32_t* registers, LinuxCppUtil::UniqueFD stream);

    /// Hands over the 188 bytes at `packet`. What the processor does not take in time is lost.
    void deliver(uint8_t tsi, const uint8_t* packet);

    /// Says whether somebody receives, or sends, by the registers, whose every step serve() will follow: until then
    /// they show no packet, and the port is not free.
    void setUsers(bool receiving, bool sending);

    /// Does what the registers ask for: releases a packet that was taken, sends one that was loaded, resets. Returns
    /// whether there was anything to do.
    bool serve(const std::function<void(const Record&)>& send);

    uint64_t bytes() const { return m_Bytes; } ///< in the records that the port had for the processor

    /// To be called some ten times a second, and at the end with `everything`. Returns what was lost, for people.
    std::vector<std::string> losses(Clock::time_point now, bool everything);

private:
    void setStatus(uint32_t word, bool before, bool now);
    void show();
    void release();
    void reset();
    bool toStream(const Record& record);
    bool streamIsRead();

    volatile uint32_t* m_Registers;
    LinuxCppUtil::UniqueFD m_Stream;
    LinuxCppUtil::UniqueFD m_StreamWriter; ///< tells, while m_Stream is closed, whether somebody else reads
    LossMeter m_StreamLosses{"packet port"};
    bool m_ReadAtFirstLoss = false; ///< of this round
    std::deque<Record> m_Waiting;
    LossMeter m_RegisterLosses{"packet port's registers"};
    bool m_Receiving = false;
    bool m_Sending = false;
    bool m_Shown = false; ///< the first of those that wait
    uint64_t m_Bytes = 0;
};

} // namespace Osl::VirtualBoard
