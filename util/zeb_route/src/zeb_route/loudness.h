#pragma once

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <map>
#include <utility>
#include <vector>

namespace Osl::ZebRoute {

/// Watches that what a scan lets through does not flood the processor.
class Loudness
{
public:
    using Clock = std::chrono::steady_clock;

    /// Counts a packet of the PID; true when too many have come.
    bool isTooMuch(uint16_t pid)
    {
        const Clock::time_point now = Clock::now();
        if (now - m_Begin >= SPAN) {
            m_Begin = now;
            m_Packets.clear();
            m_Total = 0;
        }
        ++m_Packets[pid];
        return ++m_Total > MOST_PACKETS;
    }

    /// The loudest PIDs, as many as it takes that half of what is allowed is left.
    std::vector<uint16_t> loudest() const
    {
        std::vector<std::pair<std::size_t, uint16_t>> byPackets;
        for (const auto& [pid, packets] : m_Packets)
            byPackets.emplace_back(packets, pid);
        std::sort(byPackets.rbegin(), byPackets.rend());
        std::vector<uint16_t> pids;
        std::size_t left = m_Total;
        for (auto at = byPackets.begin(); at != byPackets.end() && left > MOST_PACKETS / 2; ++at) {
            pids.push_back(at->second);
            left -= at->first;
        }
        return pids;
    }

private:
    static constexpr std::chrono::milliseconds SPAN{200};
    static constexpr std::size_t MOST_PACKETS = 130; ///< in that time: 1 Mbit/s

    Clock::time_point m_Begin{};
    std::map<uint16_t, std::size_t> m_Packets; ///< since then
    std::size_t m_Total = 0;
};

} // namespace Osl::ZebRoute
