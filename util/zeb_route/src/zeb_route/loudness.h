#pragma once

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <utility>
#include <vector>

namespace Osl::ZebRoute {

/// Watches that what a scan lets through does not flood the processor: 1 Mbit/s, and some more for a moment.
class Loudness
{
public:
    using Clock = std::chrono::steady_clock;

    /// Counts a packet of the PID; true when too many have come.
    bool isTooMuch(uint16_t pid)
    {
        const Clock::time_point now = Clock::now();
        m_Credit = std::min(MOST_AT_ONCE, m_Credit + allowedIn(now - m_Last)) - 1;
        m_Last = now;
        if (now - m_Begin >= std::chrono::seconds(1))
            begin();
        ++m_Packets[pid];
        return m_Credit < 0;
    }

    /// The PIDs to leave: those of which enough has come, and the loudest tables if tables alone are too much. Counts
    /// anew.
    std::vector<uint16_t> takeLoudest(const std::function<bool(uint16_t pid)>& isTable)
    {
        std::vector<uint16_t> pids;
        std::vector<std::pair<double, uint16_t>> tables;
        double left = 0;
        for (const auto& [pid, packets] : m_Packets) {
            if (!isTable(pid) && packets >= ENOUGH) {
                pids.push_back(pid);
                continue;
            }
            left += packets;
            if (isTable(pid))
                tables.emplace_back(packets, pid);
        }
        const double allowed = allowedIn(Clock::now() - m_Begin) + MOST_AT_ONCE / 2;
        std::sort(tables.rbegin(), tables.rend());
        for (auto table = tables.begin(); table != tables.end() && left > allowed; ++table) {
            pids.push_back(table->second);
            left -= table->first;
        }
        begin();
        m_Credit = std::max(m_Credit, AFTER_CUT);
        return pids;
    }

private:
    // In packets.
    static constexpr double PER_SECOND = 1e6 / (188 * 8);
    static constexpr double MOST_AT_ONCE = 400;
    static constexpr double ENOUGH = 4;      ///< to see what the PID of no table is
    static constexpr double AFTER_CUT = 100; ///< what is on its way comes still

    static double allowedIn(Clock::duration time) { return PER_SECOND * std::chrono::duration<double>(time).count(); }

    void begin()
    {
        m_Begin = Clock::now();
        m_Packets.clear();
    }

    Clock::time_point m_Begin = Clock::now();
    std::map<uint16_t, double> m_Packets; ///< since then
    Clock::time_point m_Last = m_Begin;
    double m_Credit = MOST_AT_ONCE; ///< packets that may come at once
};

} // namespace Osl::ZebRoute
