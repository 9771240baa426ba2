#include "zeb_route/packet_count.h"

#include <osl/userspace_drivers/drivers/zeb/ts/counters/packetcounters.h>
#include <osl/userspace_drivers/drivers/zeb/ts/tablelayout.h>

#include <algorithm>
#include <span>
#include <thread>
#include <utility>

namespace Osl::ZebRoute {

using namespace ZebRouting;
using Clock = std::chrono::steady_clock;

namespace {

constexpr double BITS_PER_PACKET = 188 * 8;
constexpr std::chrono::milliseconds NAP{20};
constexpr Clock::duration SHORTEST_TURN = std::chrono::milliseconds(100);

} // namespace

/// PIDs that are counted at a time, each by the TSO in its place.
struct PacketCount::Turn
{
    std::span<const uint16_t> pids;
    std::span<const uint8_t> tsos;
    Clock::duration time;
};

PacketCount::PacketCount(Board& board, const Tables& before, uint8_t tsi, ListeningPost& post,
                         std::function<bool()> meanwhile)
    : m_Board(board),
      m_Before(before),
      m_Tsi(tsi),
      m_Post(post),
      m_Meanwhile(std::move(meanwhile))
{
}

std::map<uint16_t, PidCount> PacketCount::count(const std::vector<uint16_t>& pids, Clock::duration time)
{
    std::map<uint16_t, PidCount> counts;
    const std::vector<uint8_t> tsos = freeCounters(m_Before);
    const std::size_t most = std::min(tsos.size(), freePidRows(m_Before));
    if (most == 0)
        return counts;
    const auto turns = static_cast<Clock::rep>((pids.size() + most - 1) / most);
    const std::span all(pids);
    for (std::size_t at = 0; at < pids.size(); at += most) {
        const auto some = all.subspan(at, std::min(most, pids.size() - at));
        if (!countTurn({some, std::span(tsos).first(some.size()), std::max(time / turns, SHORTEST_TURN)}, counts))
            break;
    }
    return counts;
}

/// False when nothing more is to be counted.
bool PacketCount::countTurn(const Turn& turn, std::map<uint16_t, PidCount>& counts)
{
    Copies copies;
    Drivers::Zeb::PacketCounters counters(m_Board.pid);
    counters.add(Drivers::Zeb::TSI_BITRATE_BASE + m_Tsi);
    for (std::size_t i = 0; i < turn.pids.size(); ++i) {
        copies[turn.pids[i]] = Copy{.counter = turn.tsos[i]};
        counters.add(Drivers::Zeb::TSO_BITRATE_BASE + turn.tsos[i]);
    }
    m_Post.listen(copies);
    counters.start();
    const Clock::time_point end = Clock::now() + turn.time;
    bool goesOn = true;
    while (goesOn && Clock::now() < end) {
        std::this_thread::sleep_for(NAP);
        goesOn = m_Meanwhile();
        counters.read();
    }
    m_Post.listen({}); // the next ones may be counted by the same rows
    const auto all = static_cast<double>(counters.packets(0));
    for (std::size_t i = 0; i < turn.pids.size() && all > 0; ++i) {
        const auto packets = static_cast<double>(counters.packets(i + 1));
        const double seconds = std::chrono::duration<double>(counters.elapsed(i + 1)).count();
        counts[turn.pids[i]] = {counters.packets(i + 1), seconds > 0 ? packets * BITS_PER_PACKET / seconds : 0,
                                std::min(1.0, packets / all)};
    }
    return goesOn;
}

} // namespace Osl::ZebRoute
