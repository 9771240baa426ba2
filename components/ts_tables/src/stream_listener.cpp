#include "fixed_pids.h"
#include "pid_faults.h"
#include "pid_state.h"
#include "rate_meter.h"
#include "section_reader.h"
#include "table_set.h"

#include <osl/ts_basics/ll_tspackets.h>
#include <osl/ts_tables/stream_listener.h>

#include <algorithm>
#include <set>
#include <utility>

namespace Osl::Ts {
namespace {

constexpr std::size_t PIDS = std::size_t{NULL_PID} + 1;

} // namespace

class StreamListener::Impl
{
public:
    explicit Impl(Hearing atFirst) : m_IsWhole(atFirst == Hearing::EVERYTHING), m_Pids(PIDS)
    {
        for (PidState& state : m_Pids)
            state.hear(atFirst);
        findReaders();
    }

    void hear(uint16_t pid, Hearing hearing) { m_Pids.at(pid).hear(hearing); }
    bool push(const uint8_t* packet);
    std::vector<uint16_t> tablePids() const
    {
        const std::set<uint16_t> pids = m_Tables.pids();
        return {pids.begin(), pids.end()};
    }
    std::vector<uint16_t> namedPids() const
    {
        Contents contents;
        m_Tables.describe(contents);
        std::set<uint16_t> named = pidsNamedBy(contents);
        named.merge(m_Tables.pids());
        return {named.begin(), named.end()};
    }
    Contents contents() const;

private:
    void findReaders();
    bool pushToReader(PidState& state, uint16_t pid, const uint8_t* packet);
    Traffic trafficOf(const PidState& state) const;

    bool m_IsWhole; ///< all packets of the stream come
    std::vector<PidState> m_Pids;
    std::set<uint16_t> m_ReadPids; ///< those with a reader
    TableSet m_Tables;
    RateMeter m_Rate;
    uint64_t m_Packets = 0;
    uint64_t m_Unsynchronised = 0;
};

/// Has the PIDs of tables read, and no others.
void StreamListener::Impl::findReaders()
{
    std::set<uint16_t> pids = m_Tables.pids();
    for (const uint16_t pid : m_ReadPids)
        if (pids.count(pid) == 0)
            m_Pids[pid].reader.reset();
    for (const uint16_t pid : pids)
        if (!m_Pids[pid].reader)
            m_Pids[pid].reader = std::make_unique<SectionReader>();
    m_ReadPids = std::move(pids);
}

bool StreamListener::Impl::push(const uint8_t* packet)
{
    ++m_Packets;
    if (!Ll::hasSync(packet)) {
        ++m_Unsynchronised;
        return false;
    }
    const uint16_t pid = Ll::pid(packet);
    PidState& state = m_Pids[pid];
    state.count(packet);
    if (Ll::hasTransportError(packet) || pid == NULL_PID)
        return false;
    if (m_IsWhole)
        m_Rate.take(packet, m_Packets);
    if (!Ll::hasPayload(packet) || Ll::scramblingControl(packet) != 0)
        return false;
    if (state.reader)
        return pushToReader(state, pid, packet);
    if (Ll::startsPayloadUnit(packet))
        state.look(packet);
    return false;
}

bool StreamListener::Impl::pushToReader(PidState& state, uint16_t pid, const uint8_t* packet)
{
    bool isNew = false;
    // A new PAT can end the reader, so what came from it is kept first.
    for (Sections rest = state.reader->push(packet); rest;) {
        Sections section = std::move(rest);
        rest.reset(std::exchange(section->p_next, nullptr));
        state.tableIds.set(section->i_table_id);
        const TableSet::Taken taken = m_Tables.take(pid, std::move(section));
        isNew = isNew || taken == TableSet::Taken::NEW;
        state.unsound += taken == TableSet::Taken::UNSOUND ? 1U : 0U;
    }
    if (isNew && pid == PAT_PID)
        findReaders();
    return isNew;
}

Traffic StreamListener::Impl::trafficOf(const PidState& state) const
{
    Traffic traffic{.heard = state.heard,
                    .packets = state.packets,
                    .scrambled = state.scrambled,
                    .hasPcr = state.hasPcr,
                    .looksLike = state.looksLike(),
                    .bitsPerSecond = {},
                    .share = {},
                    .to = {}};
    if (m_IsWhole && m_Packets > 0) {
        traffic.share = static_cast<double>(state.packets) / static_cast<double>(m_Packets);
        if (const auto rate = m_Rate.bitsPerSecond())
            traffic.bitsPerSecond = *rate * *traffic.share;
    }
    return traffic;
}

Contents StreamListener::Impl::contents() const
{
    Contents contents;
    m_Tables.describe(contents);
    const std::set<uint16_t> named = pidsNamedBy(contents);
    const std::set<uint16_t> tables = m_Tables.pids();
    for (uint16_t pid = 0; pid < PIDS; ++pid) {
        const PidState& state = m_Pids[pid];
        const bool isNamed = named.count(pid) != 0;
        if (!isNamed && state.packets == 0)
            continue;
        contents.pids.emplace(pid, trafficOf(state));
        if (isNamed || pid == NULL_PID)
            continue;
        if (isFixedPid(pid) || tables.count(pid) != 0)
            contents.tables.push_back({pid, state.tableNames()});
        else
            contents.unnamed.push_back(pid);
    }
    FaultList faults;
    if (m_Unsynchronised > 0)
        faults.add("no-sync", Weight::GRAVE, "{} of {} packets do not start with the sync byte", m_Unsynchronised,
                   m_Packets);
    m_Tables.addFaults(faults);
    addPidFaults(faults, contents, m_Pids);
    contents.faults = faults.take();
    return contents;
}

StreamListener::StreamListener(Hearing atFirst) : m_Impl(std::make_unique<Impl>(atFirst)) {}
StreamListener::~StreamListener() = default;
void StreamListener::hear(uint16_t pid, Hearing hearing) { m_Impl->hear(pid, hearing); }
bool StreamListener::push(const uint8_t* packet) { return m_Impl->push(packet); }
std::vector<uint16_t> StreamListener::tablePids() const { return m_Impl->tablePids(); }
std::vector<uint16_t> StreamListener::namedPids() const { return m_Impl->namedPids(); }
Contents StreamListener::contents() const { return m_Impl->contents(); }

} // namespace Osl::Ts
