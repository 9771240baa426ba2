#include <osl/userspace_drivers/drivers/zeb/ts/counters/packetcounters.h>

#include <algorithm>
#include <utility>

namespace Osl::Drivers::Zeb {

PacketCounters::PacketCounters(IMemIf& mem, std::function<Clock::time_point()> now) : m_Mem(mem), m_Now(std::move(now))
{
}

void PacketCounters::add(uint32_t counterWord) { m_Counters.emplace_back().word = counterWord; }

PacketCounters::Sample PacketCounters::take(const Counter& counter) const
{
    const uint32_t count = m_Mem.read32(counter.word);
    return {count, m_Now()};
}

void PacketCounters::start()
{
    m_LongestInterval = {};
    for (Counter& counter : m_Counters) {
        counter.last = take(counter);
        counter.started = counter.last.time;
        counter.packets = 0;
    }
}

void PacketCounters::read()
{
    for (Counter& counter : m_Counters) {
        const Sample sample = take(counter);
        counter.packets += (sample.count - counter.last.count) % RANGE;
        m_LongestInterval = std::max(m_LongestInterval, sample.time - counter.last.time);
        counter.last = sample;
    }
}

PacketCounters::Clock::duration PacketCounters::elapsed(std::size_t index) const
{
    const Counter& counter = m_Counters.at(index);
    return counter.last.time - counter.started;
}

} // namespace Osl::Drivers::Zeb
