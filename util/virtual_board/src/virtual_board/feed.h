#pragma once

#include "virtual_board/loop_counters.h"
#include "virtual_board/reporting.h"

#include <osl/ts_basics/ll_tspackets.h>
#include <osl/ts_streaming/interfaces.h>
#include <osl/ts_streaming/outputs/pcrsegwriter.h>

#include <array>
#include <chrono>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace Osl::VirtualBoard {

/// What a file feeds into a physical input: in a loop in the time of its PCRs, its time stamps and continuity
/// counters running on; or once, as fast as it can be routed.
class Feed
{
public:
    enum class Pace { PCR, FAST };
    using Clock = std::chrono::steady_clock;
    using Deliver = std::function<void(const uint8_t* packet)>;

    /// Reads the start of `file`. Raises BoardError when that fails, or it is not a transport stream of 188-byte
    /// packets.
    Feed(const std::string& file, Pace pace, Deliver deliver, Complain complain);

    /// Delivers what is due at `now`. Returns whether anything was. What is later than `maxLateness` is not caught up
    /// with: the rest of the feed is late by as much.
    bool serve(Clock::time_point now, Clock::duration maxLateness);

    Clock::duration lost() const { return m_Lost; } ///< time that was not caught up with

    /// When the next packet is due; Clock::time_point::max() when nothing more comes.
    Clock::time_point nextDue() const;

private:
    using Ticks = std::chrono::duration<int64_t, std::ratio<1, Ts::PCR_TICKS_PER_SECOND>>;

    struct Packet
    {
        int64_t ticks; ///< after m_Origin
        std::array<uint8_t, Ts::TS_SIZE> bytes;
    };

    class Timing; ///< sink of the file's segments

    void schedule(const uint8_t* segment, std::size_t bytes, uint64_t durationTicks);
    void fill();
    void readMore();
    Clock::time_point at(int64_t ticks) const;

    Deliver m_Deliver;
    Complain m_Complain;
    std::string m_Name;
    std::vector<uint32_t> m_Buffer; ///< words, for alignment
    std::deque<Packet> m_Packets;
    Clock::time_point m_Origin;
    Clock::duration m_Lost{};
    int64_t m_NextTicks = 0; ///< after m_Origin, of the next segment
    bool m_Started = false;
    // Behind what the writer schedules into, since it does that at its end as well.
    std::unique_ptr<Ts::Streaming::ITsReader> m_Reader;      ///< empty once the feed has ended
    std::unique_ptr<Ts::Streaming::ITsProcessChain> m_Chain; ///< these two only when paced
    std::unique_ptr<Ts::Streaming::PcrSegmentingWriter> m_Writer;
};

} // namespace Osl::VirtualBoard
