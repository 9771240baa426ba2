#pragma once

#include <osl/userspace_drivers/interfaces/imemif.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

namespace Osl::Drivers::Zeb {

/// Packets counted over any stretch of time by FPGA counters of 18 bits, which run over within seconds: the caller
/// reads them often enough, and the differences add up. Never waits by itself.
class PacketCounters
{
public:
    using Clock = std::chrono::steady_clock;

    /// How often `read` has to be called at least: a counter then runs over unseen only above 3.9 Gbit/s.
    static constexpr std::chrono::milliseconds LONGEST_INTERVAL{100};
    /// After so many packets between two reads a counter stands where it stood.
    static constexpr uint32_t RANGE = 1U << 18;

    /// `mem`, the PID handling block, must outlive this object.
    explicit PacketCounters(IMemIf& mem, std::function<Clock::time_point()> now = &Clock::now);

    /// Counts with the counter at this word (TSI_BITRATE_BASE + TSI, TSO_BITRATE_BASE + TSO) as well, which the results
    /// know by the running number of its addition, from 0. To be called before `start`.
    void add(uint32_t counterWord);
    std::size_t size() const { return m_Counters.size(); }

    /// Begins a measurement: reads every counter, each stamped with the time right after.
    void start();
    /// Reads every counter again in the same way, and adds what it has counted since the last time.
    void read();

    /// Packets from `start` to the last `read`.
    uint64_t packets(std::size_t index) const { return m_Counters.at(index).packets; }
    /// The time over which they were counted, between the counter's own first and last sample.
    Clock::duration elapsed(std::size_t index) const;
    /// The longest time between two samples of one counter, which tells from what rate on packets can be missing.
    Clock::duration longestInterval() const { return m_LongestInterval; }

private:
    struct Sample
    {
        uint32_t count = 0;
        Clock::time_point time;
    };
    struct Counter
    {
        uint32_t word = 0;
        Sample last;
        Clock::time_point started;
        uint64_t packets = 0;
    };

    Sample take(const Counter& counter) const;

    IMemIf& m_Mem;
    std::function<Clock::time_point()> m_Now;
    std::vector<Counter> m_Counters;
    Clock::duration m_LongestInterval{};
};

} // namespace Osl::Drivers::Zeb
