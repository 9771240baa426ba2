#include "zeb_route/agenda.h"

#include <algorithm>

namespace Osl::ZebRoute {

using ZebRouting::Copies;
using ZebRouting::Copy;

Agenda::Agenda(Scope scope, Duration time, std::size_t freeRows, const std::vector<uint16_t>& withRows)
    : m_Scope(scope),
      m_Time(time),
      m_FreeRows(freeRows)
{
    for (const uint16_t pid : withRows)
        m_WithRows.set(pid);
}

void Agenda::learn(const std::vector<uint16_t>& tables, const std::vector<uint16_t>& named)
{
    for (const uint16_t pid : tables) {
        if (!m_Tables[pid])
            m_Listened[pid] = {}; // until now only samples came
        m_Tables.set(pid);
    }
    m_Named = named;
}

std::optional<Copies> Agenda::next()
{
    Copies copies;
    std::size_t rows = m_FreeRows;
    bool hasNew = false;
    const auto take = [&](uint16_t pid) {
        if (m_Left[pid] || copies.contains(pid) || (rows == 0 && !m_WithRows[pid]))
            return;
        rows -= m_WithRows[pid] ? 0 : 1;
        hasNew = hasNew || !wasListenedTo(pid);
        copies.emplace(pid, Copy{.whole = isTable(pid)});
    };
    const auto takeNew = [&](uint16_t pid) {
        if (!wasListenedTo(pid))
            take(pid);
    };
    const auto forEachPid = [](const auto& visit) {
        for (uint16_t pid = 0; pid < PIDS; ++pid)
            visit(pid);
    };
    forEachPid([&](uint16_t pid) {
        if (isTable(pid))
            takeNew(pid);
    });
    // Tables that come seldom have more time as long as there are other PIDs to listen to.
    const std::size_t forOthers = m_FreeRows / 2;
    forEachPid([&](uint16_t pid) {
        if (isTable(pid) && m_Heard[pid] && rows > forOthers)
            take(pid);
    });
    if (m_Scope == Scope::EVERY_PID) {
        forEachPid([&](uint16_t pid) {
            if (m_WithRows[pid])
                takeNew(pid);
        });
        std::for_each(m_Named.begin(), m_Named.end(), takeNew);
        for (const auto& [pid, copy] : m_Now) // what was begun
            takeNew(pid);
        forEachPid(takeNew);
    }
    if (!hasNew)
        return std::nullopt;
    m_Now = copies;
    return copies;
}

Agenda::Duration Agenda::round() const
{
    Duration longest{};
    for (const auto& [pid, copy] : m_Now)
        if (!m_Left[pid])
            longest = std::max(longest, m_Time - m_Listened[pid]);
    return longest;
}

void Agenda::listened(Duration duration)
{
    for (const auto& [pid, copy] : m_Now)
        m_Listened[pid] += duration;
}

std::size_t Agenda::toDo() const
{
    std::size_t pids = 0;
    for (uint16_t pid = 0; pid < PIDS; ++pid)
        pids += wasListenedTo(pid) || (m_Scope == Scope::TABLES && !isTable(pid)) ? 0 : 1;
    return pids;
}

/// A table that is found has its time from then on: one round more.
Agenda::Duration Agenda::left() const
{
    const std::size_t rows = std::max<std::size_t>(m_FreeRows, 1);
    return m_Time * static_cast<Duration::rep>((toDo() + rows - 1) / rows + 1);
}

} // namespace Osl::ZebRoute
