#include "decode.h"
#include "encode.h"

#include <osl/cpputils/assertion.h>
#include <osl/userspace_drivers/drivers/zeb/ts/filtertabentry.h>
#include <osl/userspace_drivers/drivers/zeb/ts/ipinentry.h>
#include <osl/userspace_drivers/drivers/zeb/ts/ipoutentry.h>
#include <osl/userspace_drivers/drivers/zeb/ts/physinentry.h>
#include <osl/userspace_drivers/drivers/zeb/ts/physoutentry.h>
#include <osl/userspace_drivers/drivers/zeb/ts/pidlutentry.h>
#include <osl/userspace_drivers/drivers/zeb/ts/pidmapentry.h>
#include <osl/userspace_drivers/drivers/zeb/ts/tsimapentry.h>
#include <osl/zeb_routing/translation.h>

#include <fmt/format.h>

#include <algorithm>
#include <bitset>

namespace Osl::ZebRouting {

using namespace Drivers::Zeb;

namespace {

void checkRows(std::string_view table, std::size_t needed, std::size_t rows)
{
    if (needed > rows)
        OSL_RAISE(RoutingError, fmt::format("the {} has {} rows, but {} are needed", table, rows, needed));
}

/// Packs the fields of a row, each of which fits.
template <class Entry>
class RowWords
{
public:
    RowWords& put(const Drivers::Misc::BitField& field, uint32_t value)
    {
        OSL_ASSERT(value <= field.max());
        field.put(m_Words, value);
        return *this;
    }
    operator Words() const { return m_Words; }
    operator RowCopy() const { return {m_Words.begin(), m_Words.end()}; }

private:
    std::array<uint32_t, Entry::TOT_WORDS> m_Words{};
};

void writeInputs(Tables& tables, std::vector<Input> inputs)
{
    std::sort(inputs.begin(), inputs.end(), [](const Input& a, const Input& b) { return a.from < b.from; });
    uint32_t row = 0;
    for (const auto& [tsi, from] : inputs) {
        if (from.isPort)
            tables.setRow(PHYS_IN_MAP, from.number, RowWords<PhysInEntry>().put(PhysInEntry::FIELD<"TSIidx">.at, tsi));
        else if (row++ < IP_LUT.rows)
            tables.setRow(IP_LUT, row - 1,
                          RowWords<IpInEntry>()
                              .put(IpInEntry::FIELD<"IP">.at, from.address)
                              .put(IpInEntry::FIELD<"UDP_PORT">.at, from.number)
                              .put(IpInEntry::FIELD<"TSIidx">.at, tsi)
                              .put(IpInEntry::FIELD<"ENABLED">.at, 1));
    }
    checkRows(IP_LUT.name, row, IP_LUT.rows);
}

void writeOutputs(Tables& tables, const std::vector<Output>& outputs)
{
    for (const Output& output : outputs) {
        if (output.to.isPort) {
            tables.setRow(PHYS_OUT_MAP, output.tso,
                          RowWords<PhysOutEntry>()
                              .put(PhysOutEntry::FIELD<"PHYOidx">.at, output.to.number)
                              .put(PhysOutEntry::FIELD<"ENABLED">.at, 1));
            continue;
        }
        RowWords<IpOutEntry> words;
        words.put(IpOutEntry::FIELD<"IP">.at, output.to.address)
            .put(IpOutEntry::FIELD<"UDP_PORT">.at, output.to.number)
            .put(IpOutEntry::FIELD<"RTP">.at, output.rtp ? 1 : 0)
            .put(IpOutEntry::FIELD<"ENABLED">.at, output.enabled ? 1 : 0);
        for (std::size_t i = 0; i < output.mac.size(); ++i)
            words.put(*MAC_FIELDS[i], output.mac[i]);
        tables.setRow(IP_OUT_MAP, output.tso, words);
    }
}

void writeList(Tables& tables, const Destinations& list, const std::vector<uint16_t>& rows)
{
    OSL_ASSERT(list.size() == rows.size());
    for (std::size_t i = 0; i < list.size(); ++i)
        tables.setRow(O_PID_MAP, rows[i], listRow(list[i], i + 1 < rows.size() ? rows[i + 1] : 0));
}

/// The row of a route in the PID LUT, or, for a whole TSI, its row of the TSI MAP.
void writeRoute(Tables& tables, uint32_t& pidLutRow, const RouteGroup& route, const ListRows& places)
{
    const bool toOutputs = !route.outputs.empty();
    const uint16_t list = toOutputs ? places.ofRoutes.at(route.outputs).front() : PidLutEntry().getPIDIDX();
    if (route.packets.isWholeTsi())
        tables.setRow(TSI_MAP, route.packets.tsi, tsiRow(list));
    else if (pidLutRow++ < PID_LUT.rows)
        tables.setRow(PID_LUT, pidLutRow - 1,
                      pidRow(route.packets, {.outRoute = toOutputs,
                                             .cpuRoute = route.filter.has_value(),
                                             .list = list,
                                             .filter = route.filter.value_or(Destination::NO_FILTER)}));
}

} // namespace

RowCopy listRow(Destination to, uint16_t next)
{
    const auto newPid = to.newPid();
    return RowWords<PidMapEntry>()
        .put(PidMapEntry::FIELD<"TSOidx">.at, to.tso())
        .put(PidMapEntry::FIELD<"REMAP_PID">.at, newPid.value_or(PidMapEntry::FIELD<"REMAP_PID">.at.max()))
        .put(PidMapEntry::FIELD<"REMAP">.at, newPid ? 1 : 0)
        .put(PidMapEntry::FIELD<"ENABLED">.at, 1)
        .put(PidMapEntry::FIELD<"NEXT_PIDidx">.at, next);
}

RowCopy tsiRow(uint16_t list)
{
    return RowWords<TsiMapEntry>().put(TsiMapEntry::FIELD<"PIDidx">.at, list).put(TsiMapEntry::FIELD<"ENABLED">.at, 1);
}

RowCopy pidRow(const Selector& packets, const PidActions& actions)
{
    return RowWords<PidLutEntry>()
        .put(PidLutEntry::FIELD<"TSIIDX">.at, packets.tsi)
        .put(PidLutEntry::FIELD<"PID">.at, packets.pid)
        .put(PidLutEntry::FIELD<"PIDIDX">.at, actions.list)
        .put(PidLutEntry::FIELD<"OUT_ROUTE">.at, actions.outRoute ? 1 : 0)
        .put(PidLutEntry::FIELD<"CPU_ROUTE">.at, actions.cpuRoute ? 1 : 0)
        .put(PidLutEntry::FIELD<"FiltTabIDX">.at, actions.filter);
}

std::vector<RouteGroup> groupsOf(const std::vector<Route>& routes)
{
    std::vector<RouteGroup> groups;
    for (const Route& route : routes) {
        if (groups.empty() || groups.back().packets != route.packets)
            groups.push_back({route.packets, {}, std::nullopt});
        if (route.to.isOutput())
            groups.back().outputs.push_back(route.to);
        else if (route.to.isCpu())
            groups.back().filter = route.to.filter();
    }
    return groups;
}

std::map<uint16_t, Destinations> groupsOf(const std::vector<List>& lists)
{
    std::map<uint16_t, Destinations> groups;
    for (const List& list : lists)
        groups[list.pidIdx].push_back(list.to);
    return groups;
}

ListRows freshRows(const Routing& routing)
{
    const auto numbered = groupsOf(routing.lists);
    std::bitset<O_PID_MAP.rows> taken;
    taken.set(0);
    for (const auto& [number, list] : numbered)
        taken.set(number);

    std::size_t needed = 0;
    uint32_t free = O_PID_MAP.firstRow;
    const auto takeRows = [&](std::vector<uint16_t>& rows, std::size_t count) {
        needed += count;
        while (rows.size() < count) {
            while (free < O_PID_MAP.rows && taken[free])
                ++free;
            if (free == O_PID_MAP.rows)
                return;
            rows.push_back(static_cast<uint16_t>(free++));
        }
    };
    ListRows places;
    for (const auto& [number, list] : numbered)
        takeRows(places.numbered[number] = {number}, list.size());
    for (const RouteGroup& route : groupsOf(routing.routes))
        if (const auto& list = route.outputs; !list.empty() && !places.ofRoutes.contains(list))
            takeRows(places.ofRoutes[list], list.size());
    checkRows(O_PID_MAP.name, needed, O_PID_MAP.rows - O_PID_MAP.firstRow);
    return places;
}

Tables encode(const Routing& routing, const ListRows& places)
{
    Tables tables;
    writeInputs(tables, routing.inputs);
    writeOutputs(tables, routing.outputs);
    for (const auto& [filter, count] : routing.filters)
        tables.setRow(FILTER_TABLE, filter,
                      RowWords<FilterTabEntry>().put(FilterTabEntry::FIELD<"PACKET_COUNT">.at, count));
    for (const auto& [list, rows] : places.ofRoutes)
        writeList(tables, list, rows);
    for (const auto& [number, list] : groupsOf(routing.lists))
        writeList(tables, list, places.numbered.at(number));
    uint32_t pidLutRow = 0;
    for (const RouteGroup& route : groupsOf(routing.routes))
        writeRoute(tables, pidLutRow, route, places);
    checkRows(PID_LUT.name, pidLutRow, PID_LUT.rows);
    tables.setHasFilters(routing.hasFilters);
    return tables;
}

Tables compile(const Routing& routing) { return encode(routing, freshRows(routing)); }

} // namespace Osl::ZebRouting
