#pragma once

#include <osl/zeb_routing/listening.h>

#include <array>
#include <bitset>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <vector>

namespace Osl::ZebRoute {

/// Which PIDs of a stream are listened to next, and for how long each was. Knows nothing of the board but how many
/// rows there are for PIDs that have none.
class Agenda
{
public:
    using Duration = std::chrono::steady_clock::duration;
    static constexpr std::size_t PIDS = 8192;

    enum class Scope { TABLES, EVERY_PID };

    /// Each PID is listened to for `time`. The PIDs of `withRows` take no row.
    Agenda(Scope scope, Duration time, std::size_t freeRows, const std::vector<uint16_t>& withRows);

    /// What tables say by now: `tables` are listened to whole, `named` before what nobody names.
    void learn(const std::vector<uint16_t>& tables, const std::vector<uint16_t>& named);
    /// Something came of the PID.
    void heard(uint16_t pid) { m_Heard.set(pid); }
    /// Nothing more is wanted of the PID.
    void leave(uint16_t pid) { m_Left.set(pid); }

    /// What to listen to now; nullopt: all was listened to, or there is no row for what was not.
    std::optional<ZebRouting::Copies> next();
    /// How long next() shall be listened to; less when something is learnt.
    Duration round() const;
    /// It was listened to for so long.
    void listened(Duration duration);

    bool isTable(uint16_t pid) const { return m_Tables[pid]; }
    bool wasListenedTo(uint16_t pid) const { return m_Listened[pid] >= m_Time || m_Left[pid]; }
    std::size_t toDo() const; ///< PIDs that were not listened to
    Duration left() const;    ///< that this takes, as far as it can be told

private:
    Scope m_Scope;
    Duration m_Time;
    std::size_t m_FreeRows;
    std::bitset<PIDS> m_WithRows;
    std::bitset<PIDS> m_Tables;
    std::bitset<PIDS> m_Heard;
    std::bitset<PIDS> m_Left;
    std::vector<uint16_t> m_Named;
    std::array<Duration, PIDS> m_Listened{};
    ZebRouting::Copies m_Now;
};

} // namespace Osl::ZebRoute
