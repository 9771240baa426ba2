#include "table_set.h"

#include "fixed_pids.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace Osl::Ts {

bool TableSet::isExpected(uint16_t pid, const dvbpsi_psi_section_t& section) const
{
    switch (section.i_table_id) {
    case PAT:
        return pid == PAT_PID;
    case CAT:
        return pid == CAT_PID;
    case SDT:
        return pid == SDT_PID;
    case NIT:
        return pid == m_NitPid.value_or(NIT_PID);
    case PMT: {
        const auto program = m_Programs.find(section.i_extension);
        return program != m_Programs.end() && program->second == pid;
    }
    default:
        return false;
    }
}

/// Whether a sound section says something that is not known yet. Where a new version of its table starts, what the old
/// one said is forgotten.
bool TableSet::isNew(uint16_t pid, const dvbpsi_psi_section_t& section)
{
    const bool severalAtOnce = section.i_table_id == PMT;
    const auto [place, isFirst] =
        m_Subtables.try_emplace({pid, section.i_table_id, severalAtOnce ? section.i_extension : uint16_t{0}});
    Subtable& table = place->second;
    if (isFirst || table.version != section.i_version || table.last != section.i_last_number ||
        table.extension != section.i_extension) {
        const uint64_t changes = isFirst ? 0 : table.changes + 1;
        forget(pid, section.i_table_id, section.i_extension);
        table = {section.i_version, section.i_last_number, section.i_extension, {}, changes};
    }
    const bool known = table.seen[section.i_number];
    table.seen.set(section.i_number);
    return !known;
}

void TableSet::forget(uint16_t, uint8_t tableId, uint16_t extension)
{
    switch (tableId) {
    case PAT:
        m_Programs.clear();
        m_PmtPids.clear();
        m_Doubled.clear();
        m_NitPid.reset();
        break;
    case CAT:
        m_Emms.clear();
        break;
    case PMT:
        if (const auto old = m_Maps.find(extension); old != m_Maps.end()) {
            m_StreamCount -= old->second.streams.size();
            m_Maps.erase(old);
        }
        break;
    case SDT:
        m_Names.clear();
        m_SdtStreams.clear();
        break;
    default:
        break;
    }
}

TableSet::Taken TableSet::take(uint16_t pid, Sections section)
{
    if (!isExpected(pid, *section))
        return Taken::NOTHING_NEW;
    if (!isSound(*section))
        return Taken::UNSOUND;
    if (!section->b_current_next || !isNew(pid, *section)) // one that is announced does not hold yet
        return Taken::NOTHING_NEW;
    read(pid, std::move(section));
    return Taken::NEW;
}

void TableSet::read(uint16_t pid, Sections section)
{
    const uint16_t extension = section->i_extension;
    switch (section->i_table_id) {
    case PAT:
        m_Stream = extension;
        for (const Program& program : readPat(std::move(section)))
            addProgram(program);
        break;
    case CAT: {
        m_HasCat = true;
        const std::vector<CaPid> emms = readCat(std::move(section));
        m_Emms.insert(m_Emms.end(), emms.begin(), emms.end());
        break;
    }
    case PMT: {
        ProgramMap map = readPmt(std::move(section));
        map.pid = pid;
        addMap(extension, std::move(map));
        break;
    }
    case SDT:
        m_SdtStreams.insert(extension);
        for (ServiceName& name : readSdt(std::move(section))) {
            if (m_Names.size() < MAX_SERVICES)
                m_Names.insert_or_assign(name.number, std::move(name));
            else
                m_LeftOut = true;
        }
        break;
    case NIT: {
        m_Network = extension;
        if (std::string name = readNit(std::move(section)); !name.empty())
            m_NetworkName = std::move(name);
        break;
    }
    default:
        break;
    }
}

void TableSet::addProgram(const Program& program)
{
    if (program.number == 0) {
        m_NitPid = program.pid;
        return;
    }
    if (m_Programs.size() >= MAX_SERVICES) {
        m_LeftOut = true;
        return;
    }
    const auto [place, isFirst] = m_Programs.emplace(program.number, program.pid);
    if (isFirst)
        m_PmtPids.insert(program.pid);
    else if (place->second != program.pid && m_Doubled.size() < MAX_SERVICES)
        m_Doubled.push_back(program);
}

void TableSet::addMap(uint16_t number, ProgramMap map)
{
    if (m_StreamCount + map.streams.size() > MAX_STREAMS) {
        m_LeftOut = true;
        map.streams.clear();
    }
    m_StreamCount += map.streams.size();
    m_Maps.insert_or_assign(number, std::move(map));
}

std::set<uint16_t> TableSet::pids() const
{
    std::set<uint16_t> pids = m_PmtPids;
    pids.insert({PAT_PID, CAT_PID, SDT_PID, m_NitPid.value_or(NIT_PID)});
    return pids;
}

void TableSet::describe(Contents& contents) const
{
    contents.transportStream = m_Stream;
    contents.network = m_Network;
    contents.networkName = m_NetworkName;
    contents.emms = m_Emms;
    for (const auto& [number, pmtPid] : m_Programs) {
        Service service{
            .number = number, .name = {}, .provider = {}, .pmtPid = pmtPid, .pcrPid = {}, .streams = {}, .ecms = {}};
        if (const auto name = m_Names.find(number); name != m_Names.end()) {
            service.name = name->second.name;
            service.provider = name->second.provider;
        }
        if (const auto map = m_Maps.find(number); map != m_Maps.end() && map->second.pid == pmtPid) {
            service.hasPmt = true;
            service.pcrPid = map->second.pcrPid;
            service.streams = map->second.streams;
            service.ecms = map->second.ecms;
        }
        contents.services.push_back(std::move(service));
    }
}

std::string TableSet::nameOf(const Key& key, const Subtable& table) const
{
    const uint8_t tableId = std::get<1>(key);
    return tableId == PMT ? fmt::format("the PMT of service {}", table.extension)
                          : fmt::format("the {}", tableName(tableId));
}

void TableSet::addFaults(FaultList& faults) const
{
    constexpr uint64_t MANY_CHANGES = 3;
    for (const auto& [key, table] : m_Subtables) {
        if (table.changes > MANY_CHANGES)
            faults.add("unstable", Weight::GRAVE, "{} changed {} times", nameOf(key, table), table.changes);
        if (table.isWhole())
            continue;
        // These two come seldom enough that a short look can miss a part.
        const bool isSlow = std::get<1>(key) == NIT || std::get<1>(key) == SDT;
        faults.add("incomplete", isSlow ? Weight::NOTE : Weight::GRAVE, "of {} came {} of {} sections",
                   nameOf(key, table), table.seen.count(), table.last + 1U);
    }
    for (const Program& again : m_Doubled)
        faults.add("service-twice", Weight::GRAVE, "the PAT names service {} with two PMT PIDs, 0x{:04x} and 0x{:04x}",
                   again.number, m_Programs.at(again.number), again.pid);
    for (const uint16_t stream : m_SdtStreams)
        if (m_Stream && stream != *m_Stream)
            faults.add("stream-id", Weight::GRAVE, "the SDT speaks of transport stream {}, the PAT of {}", stream,
                       *m_Stream);
    if (m_SdtStreams.empty() && !m_Programs.empty())
        faults.add("no-sdt", Weight::NOTE, "there is no SDT that names the services");
    const bool hasEcms =
        std::any_of(m_Maps.begin(), m_Maps.end(), [](const auto& map) { return !map.second.ecms.empty(); });
    if (hasEcms && !m_HasCat)
        faults.add("no-cat", Weight::NOTE, "services name ECMs, but there is no CAT");
    if (m_LeftOut)
        faults.add("too-much", Weight::GRAVE,
                   "the tables name more than {} services or {} streams; the rest is left out", MAX_SERVICES,
                   MAX_STREAMS);
}

} // namespace Osl::Ts
