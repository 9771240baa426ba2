#pragma once

#include "virtual_board/reporting.h"
#include "virtual_board/transfer_parser.h"

#include <osl/linutils/raii_filedescriptors.h>
#include <osl/ts_basics/ll_tspackets.h>

#include <array>
#include <chrono>
#include <cstdint>
#include <deque>
#include <functional>
#include <vector>

namespace Osl::VirtualBoard {

/// A TX DMA channel's FPGA side: takes transfers out of the channel's byte stream and lets each packet go when its
/// segment's spacing says so. While its packets wait it takes no more, so that its sender waits too.
class TxChannel : private ITransferEvents
{
public:
    using Clock = std::chrono::steady_clock;
    using Send = std::function<void(uint32_t header, const uint8_t* packet)>;

    /// `device` is the stream's reading end, which must not block.
    TxChannel(unsigned number, LinuxCppUtil::UniqueFD device, Send send, Complain complain);

    /// Reads what there is room for and sends what is due at `now`. Returns whether there was anything to do.
    bool serve(Clock::time_point now);

    bool wantsData() const { return m_Packets.size() < MAX_WAITING; }
    bool hasPackets() const { return !m_Packets.empty(); }
    /// When the next packet is due; of a channel that hasPackets().
    Clock::time_point nextDue() const { return m_Packets.front().due; }
    int descriptor() const { return *m_Device; }
    /// Whether nobody has the device open for writing, so that its descriptor() is of no use for waiting.
    bool ended() const { return m_Ended; }
    uint64_t bytes() const { return m_Bytes; } ///< taken from the device
    /// How often a sender's data came too late. The rest of the stream is late by as much then.
    uint64_t underruns() const { return m_Underruns; }

private:
    static constexpr std::size_t MAX_WAITING = 512; ///< packets
    using Ticks = std::chrono::duration<int64_t, std::ratio<1, Ts::PCR_TICKS_PER_SECOND>>;

    struct Packet
    {
        Clock::time_point due;
        uint32_t header = 0;
        std::array<uint8_t, Ts::TS_SIZE> bytes{};
    };

    void onSegment(uint32_t spacing, uint32_t remainder) override;
    void onPacket(uint32_t header, const uint8_t* packet) override;
    void onGarbage(std::size_t bytes) override;
    void onTruncated(std::size_t bytes) override;
    void catchUp();
    Clock::time_point at(int64_t ticks) const;
    bool read(Clock::time_point now);

    unsigned m_Number;
    LinuxCppUtil::UniqueFD m_Device;
    Send m_Send;
    Complain m_Complain;
    TransferParser m_Parser{*this};
    std::vector<uint8_t> m_ReadBuffer;
    std::deque<Packet> m_Packets;
    Clock::time_point m_Now;
    Clock::time_point m_Origin; ///< of m_NextTicks
    int64_t m_NextTicks = 0;    ///< when the next packet is due, in ticks, so that nothing is rounded away
    uint32_t m_Spacing = 0;
    uint32_t m_Remainder = 0; ///< of the current segment, given behind its last packet
    uint64_t m_Bytes = 0;
    uint64_t m_Underruns = 0;
    bool m_Ended = true;
    bool m_Fresh = true; ///< nothing has come from the present sender
};

} // namespace Osl::VirtualBoard
