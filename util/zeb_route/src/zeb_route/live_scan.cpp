#include "zeb_route/live_scan.h"

#include "zeb_route/agenda.h"
#include "zeb_route/board_lock.h"
#include "zeb_route/endurance.h"
#include "zeb_route/listening_post.h"
#include "zeb_route/loudness.h"
#include "zeb_route/packet_count.h"
#include "zeb_route/packet_tap.h"
#include "zeb_route/scan_progress.h"

#include <osl/linutils/whole_file.h>
#include <osl/ts_basics/ll_tspackets.h>
#include <osl/ts_tables/stream_listener.h>
#include <osl/zeb_routing/source.h>
#include <osl/zeb_routing/trace.h>

#include <fmt/format.h>

#include <algorithm>
#include <map>
#include <optional>
#include <set>
#include <utility>
#include <vector>

namespace Osl::ZebRoute {
namespace {

using namespace ZebRouting;
using namespace std::chrono_literals;
using Ts::Hearing;
using Clock = std::chrono::steady_clock;

constexpr uint16_t NULL_PID = 8191;
constexpr uint8_t UNUSED_TSI = 255; ///< with the null packets' PID: what unused rows look like

/// After so long with an aim what was learnt meanwhile gives another.
constexpr Clock::duration SHORTEST_AIM = 100ms;

/// Packets are counted for so long at most.
constexpr Clock::duration LONGEST_COUNT = 2s;

std::vector<uint16_t> keysOf(const std::map<uint16_t, std::optional<uint8_t>>& pids)
{
    std::vector<uint16_t> keys;
    for (const auto& [pid, filter] : pids)
        keys.push_back(pid);
    return keys;
}

/// "3:0x0200 (239.2.2.2:5000)", "cpu/12"
std::string nameOf(const Exit& exit, uint16_t pid)
{
    if (!exit.tso)
        return exit.filter == Destination::NO_FILTER ? "cpu" : fmt::format("cpu/{}", exit.filter);
    return fmt::format("{}{} ({})", *exit.tso, exit.pid == pid ? "" : fmt::format(":0x{:04x}", exit.pid),
                       exit.outputs.empty() ? "no output" : fmt::format("{}", fmt::join(exit.outputs, ", ")));
}

class LiveScan
{
public:
    LiveScan(Board& board, const Tables& before, const ScanTask& task, Surroundings& around)
        : m_Board(board),
          m_Before(before),
          m_Task(task),
          m_Around(around),
          m_WithRows(pidsWithRows(before, task.tsi)),
          m_Tap([&around] { return around.stopRequested(); }),
          m_Agenda(task.onlyTables ? Agenda::Scope::TABLES : Agenda::Scope::EVERY_PID, task.time, freePidRows(before),
                   keysOf(m_WithRows)),
          m_Listener(Hearing::NOTHING)
    {
        if (m_Task.tsi == UNUSED_TSI)
            m_Agenda.leave(NULL_PID);
        learn();
    }

    Ts::Contents run()
    {
        withCopies(m_Before, m_Task.tsi, {}); // what cannot be is refused before anything is written
        if (!m_Agenda.next())
            OSL_RAISE(RoutingError, "the PID LUT has no free row to listen by");
        announce();
        m_Tap.discardWaiting();
        {
            ListeningPost post(m_Board, m_Before, m_Task.tsi);
            while (!isOver()) {
                const auto copies = m_Agenda.next();
                if (!copies)
                    break;
                showProgress();
                aim(post, *copies);
                listen();
            }
            hearNothing();
            if (!m_Task.onlyTables && !m_Around.stopRequested())
                countPackets(post);
            post.leave();
        }
        takeWaiting(); // so that the next capture does not find them
        return contents();
    }

private:
    bool isOver() const { return m_IsEnough || m_Around.stopRequested(); }
    void learn() { m_Agenda.learn(m_Listener.tablePids(), m_Listener.namedPids()); }
    void announce();
    void showProgress();

    Hearing hearingOf(uint16_t pid, const Copy& copy) const;
    void aim(ListeningPost& post, const Copies& copies);
    void hearNothing()
    {
        hearLess({});
        m_Aim.clear();
        m_TooLoud.reset();
    }
    void hearLess(const Copies& copies);
    void listen();
    void take(const uint8_t* packet);
    void takeWaiting();

    Clock::duration countTime() const { return std::min<Clock::duration>(m_Task.time, LONGEST_COUNT); }
    void countPackets(ListeningPost& post);

    Ts::Contents contents() const;
    std::vector<std::string> exitsOf(const Source& source, uint16_t pid) const;
    void addNotes(Ts::Contents& contents) const;

    Board& m_Board;
    const Tables& m_Before;
    const ScanTask& m_Task;
    Surroundings& m_Around;
    const std::map<uint16_t, std::optional<uint8_t>> m_WithRows;
    PacketTap m_Tap;
    Agenda m_Agenda;
    Ts::StreamListener m_Listener;
    ScanProgress m_Progress;
    Copies m_Aim;
    Loudness m_Loudness;
    bool m_IsEnough = false;
    bool m_HasLearnt = false;
    std::optional<std::vector<uint16_t>> m_TooLoud; ///< what is to be left at once
    std::vector<uint16_t> m_Loud;                   ///< tables that were
    std::map<uint16_t, PidCount> m_Counted;
};

void LiveScan::announce()
{
    const auto seconds = std::chrono::ceil<std::chrono::seconds>(m_Agenda.left() + countTime());
    m_Progress.announce(fmt::format(
        "listening to TSI {} for about {} s; rows that copy its packets to the processor come and go meanwhile, and "
        "nothing on air changes",
        m_Task.tsi, seconds.count()));
}

void LiveScan::showProgress() { m_Progress.show(fmt::format("{} PIDs left to listen to", m_Agenda.toDo())); }

/// How much of a PID comes by its own row, or else by the scan's.
Hearing LiveScan::hearingOf(uint16_t pid, const Copy& copy) const
{
    const auto row = m_WithRows.find(pid);
    if (row != m_WithRows.end() && row->second)
        return *row->second == Destination::NO_FILTER ? Hearing::EVERYTHING : Hearing::SAMPLES;
    return copy.whole ? Hearing::EVERYTHING : Hearing::SAMPLES;
}

void LiveScan::hearLess(const Copies& copies)
{
    for (const auto& [pid, copy] : m_Aim) {
        const auto found = copies.find(pid);
        if (found == copies.end())
            m_Listener.hear(pid, Hearing::NOTHING);
        else if (hearingOf(pid, found->second) < hearingOf(pid, copy))
            m_Listener.hear(pid, hearingOf(pid, found->second));
    }
}

/// The listener is told before less comes, and only after what came of less is taken that there is more.
void LiveScan::aim(ListeningPost& post, const Copies& copies)
{
    hearLess(copies);
    post.listen(copies);
    settle();
    takeWaiting();
    for (const auto& [pid, copy] : copies) {
        const auto found = m_Aim.find(pid);
        if (found == m_Aim.end() || hearingOf(pid, copy) > hearingOf(pid, found->second))
            m_Listener.hear(pid, hearingOf(pid, copy));
    }
    m_Aim = copies;
}

void LiveScan::take(const uint8_t* packet)
{
    const uint16_t pid = Ts::Ll::pid(packet);
    if (!m_Aim.contains(pid))
        return;
    m_Agenda.heard(pid);
    if (m_Listener.push(packet)) {
        m_HasLearnt = true;
        m_IsEnough = m_IsEnough || (m_Task.isEnough && m_Task.isEnough(m_Listener.contents()));
    }
    const auto row = m_WithRows.find(pid);
    const bool isOurs = row == m_WithRows.end() || !row->second;
    if (isOurs && m_Loudness.isTooMuch(pid) && !m_TooLoud)
        m_TooLoud = m_Loudness.takeLoudest([this](uint16_t loud) { return m_Agenda.isTable(loud); });
}

void LiveScan::takeWaiting()
{
    while (const uint8_t* const packet = m_TooLoud ? nullptr : m_Tap.next(m_Task.tsi, false))
        take(packet);
}

void LiveScan::listen()
{
    const Clock::time_point begin = Clock::now();
    const Clock::duration round = m_Agenda.round();
    Clock::time_point now = begin;
    while (now - begin < round && !isOver() && !m_TooLoud && !(m_HasLearnt && now - begin >= SHORTEST_AIM)) {
        if (const uint8_t* const packet = m_Tap.next(m_Task.tsi, true))
            take(packet);
        now = Clock::now();
    }
    m_Agenda.listened(now - begin);
    for (const uint16_t pid : std::exchange(m_TooLoud, std::nullopt).value_or(std::vector<uint16_t>{})) {
        m_Agenda.leave(pid);
        if (m_Agenda.isTable(pid)) // of others enough has come
            m_Loud.push_back(pid);
    }
    if (std::exchange(m_HasLearnt, false))
        learn();
}

/// Counts what tables name, what was heard, and null packets, of which a filter lets none pass.
void LiveScan::countPackets(ListeningPost& post)
{
    m_Progress.show("counting packets");
    std::set<uint16_t> pids{NULL_PID};
    for (const auto& [pid, traffic] : m_Listener.contents().pids)
        if (traffic.packets != 0)
            pids.insert(pid);
    for (const uint16_t pid : m_Listener.namedPids())
        pids.insert(pid);
    if (m_Task.tsi == UNUSED_TSI)
        pids.erase(NULL_PID);
    PacketCount counter(m_Board, m_Before, m_Task.tsi, post, [this] {
        takeWaiting(); // what goes to the processor anyway
        return !m_Around.stopRequested();
    });
    m_Counted = counter.count({pids.begin(), pids.end()}, countTime());
}

std::vector<std::string> LiveScan::exitsOf(const Source& source, uint16_t pid) const
{
    std::vector<std::string> names;
    for (const Exit& exit : trace(source, m_Task.tsi, pid).exits)
        names.push_back(nameOf(exit, pid));
    return names;
}

void LiveScan::addNotes(Ts::Contents& contents) const
{
    const auto add = [&](const char* code, const std::string& text) { contents.faults.push_back({code, true, text}); };
    if (!m_Loud.empty()) {
        constexpr std::size_t NAMED = 8;
        const std::size_t more = m_Loud.size() - std::min(m_Loud.size(), NAMED);
        add("loud", fmt::format("tables that were listened to only shortly, since so much came of them: PID "
                                "0x{:04x}{}",
                                fmt::join(m_Loud.begin(), m_Loud.end() - static_cast<std::ptrdiff_t>(more), ", 0x"),
                                more == 0 ? "" : fmt::format(" and {} more", more)));
    }
    if (m_Task.onlyTables || m_Agenda.toDo() == 0)
        return;
    if (m_Around.stopRequested())
        add("stopped", fmt::format("{} PIDs were not listened to", m_Agenda.toDo()));
    else
        add("no-room",
            fmt::format("the PID LUT has no room for the rows of {} PIDs; they were not listened to", m_Agenda.toDo()));
}

Ts::Contents LiveScan::contents() const
{
    Ts::Contents contents = m_Listener.contents();
    const Source source = Source::of(m_Before);
    for (const auto& [pid, counted] : m_Counted) {
        if (counted.packets == 0 && !contents.pids.contains(pid))
            continue; // no null packets
        Ts::Traffic& traffic = contents.pids[pid];
        traffic.heard = true;
        if (counted.packets == 0 && traffic.packets != 0)
            continue; // it comes seldom
        traffic.packets = std::max(traffic.packets, counted.packets);
        traffic.bitsPerSecond = counted.bitsPerSecond;
        traffic.share = counted.share;
    }
    for (auto& [pid, traffic] : contents.pids)
        if (traffic.packets != 0 || m_Counted.contains(pid))
            traffic.to = exitsOf(source, pid);
    addNotes(contents);
    return contents;
}

} // namespace

Ts::Contents scanInput(uint8_t tsi, const Settings& settings, Surroundings& around)
{
    endure();
    Board board;
    const BoardLock lock(board, settings, around);
    const Tables before = withoutCopies(board.tables());
    if (!settings.backup.empty())
        LinuxCppUtil::writeWholeFile(settings.backup, before.toImage());
    return scanBoard(board, before, {.tsi = tsi, .time = std::chrono::milliseconds(settings.timeMs)}, around);
}

Ts::Contents scanBoard(Board& board, const Tables& before, const ScanTask& task, Surroundings& around)
{
    return LiveScan(board, before, task, around).run();
}

} // namespace Osl::ZebRoute
