#include "decode.h"

#include "list_map.h"

#include <osl/userspace_drivers/drivers/zeb/ts/filtertabentry.h>
#include <osl/userspace_drivers/drivers/zeb/ts/ipinentry.h>
#include <osl/userspace_drivers/drivers/zeb/ts/ipoutentry.h>
#include <osl/userspace_drivers/drivers/zeb/ts/physinentry.h>
#include <osl/userspace_drivers/drivers/zeb/ts/physoutentry.h>
#include <osl/userspace_drivers/drivers/zeb/ts/pidlutentry.h>
#include <osl/userspace_drivers/drivers/zeb/ts/pidmapentry.h>
#include <osl/userspace_drivers/drivers/zeb/ts/tsimapentry.h>
#include <osl/zeb_routing/translation.h>

#include <algorithm>

namespace Osl::ZebRouting {

using namespace Drivers::Zeb;

namespace {

/// Keeps the first of neighbours with the same key; `elements` stay in their order when they have one.
template <class Element, class Key>
void firstOfEach(std::vector<Element>& elements, const Key& key)
{
    const auto before = [&key](const Element& a, const Element& b) { return key(a) < key(b); };
    if (!std::is_sorted(elements.begin(), elements.end(), before))
        std::stable_sort(elements.begin(), elements.end(), before);
    const auto same = [&key](const Element& a, const Element& b) { return key(a) == key(b); };
    elements.erase(std::unique(elements.begin(), elements.end(), same), elements.end());
}

std::vector<Input> inputsOf(const Tables& tables)
{
    std::vector<Input> inputs;
    forEachRow(tables, IP_INPUTS, [&](uint32_t, Words words) {
        inputs.push_back({static_cast<uint8_t>(IpInEntry::FIELD<"TSIidx">.at.get(words)), groupOfInput(words)});
    });
    firstOfEach(inputs, [](const Input& input) { return input.from; });
    forEachRow(tables, PHYS_INPUTS, [&](uint32_t port, Words words) {
        inputs.push_back({static_cast<uint8_t>(PhysInEntry::FIELD<"TSIidx">.at.get(words)),
                          Endpoint::port(static_cast<uint8_t>(port))});
    });
    std::sort(inputs.begin(), inputs.end());
    return inputs;
}

std::vector<Output> outputsOf(const Tables& tables)
{
    std::vector<Output> outputs;
    forEachRow(tables, IP_OUTPUTS, [&](uint32_t tso, Words words) {
        outputs.push_back({.tso = static_cast<uint8_t>(tso),
                           .to = groupOfOutput(words),
                           .mac = macOfOutput(words),
                           .rtp = IpOutEntry::FIELD<"RTP">.at.get(words) != 0,
                           .enabled = IpOutEntry::FIELD<"ENABLED">.at.get(words) != 0});
    });
    forEachRow(tables, PHYS_OUTPUTS, [&](uint32_t tso, Words words) {
        const auto port = static_cast<uint8_t>(PhysOutEntry::FIELD<"PHYOidx">.at.get(words));
        outputs.push_back({.tso = static_cast<uint8_t>(tso), .to = Endpoint::port(port)});
    });
    std::sort(outputs.begin(), outputs.end());
    return outputs;
}

std::vector<Filter> filtersOf(const Tables& tables)
{
    std::vector<Filter> filters;
    forEachRow(tables, FILTERS, [&](uint32_t filter, Words words) {
        filters.push_back({static_cast<uint8_t>(filter), FilterTabEntry::FIELD<"PACKET_COUNT">.at.get(words)});
    });
    return filters;
}

struct PidLutRow
{
    Selector packets;
    Words words;
};

std::vector<Route> routesOf(const Tables& tables, ListMap& lists)
{
    std::vector<PidLutRow> rows;
    rows.reserve(PID_LUT.rows);
    forEachRow(tables, PID_ROUTES, [&](uint32_t, Words words) { rows.push_back({packetsOf(words), words}); });
    firstOfEach(rows, [](const PidLutRow& row) { return row.packets; });

    std::vector<Route> routes;
    routes.reserve(2 * rows.size());
    for (const auto& [packets, words] : rows) {
        const std::size_t before = routes.size();
        if (isOutRoute(words))
            for (const Destination to : lists.destinations(listOf(words)))
                routes.push_back({packets, to});
        if (PidLutEntry::FIELD<"CPU_ROUTE">.at.get(words) != 0)
            routes.push_back({packets, Destination::cpu(filterOf(words))});
        if (routes.size() == before)
            routes.push_back({packets, Destination::drop()});
    }
    forEachRow(tables, TSI_ROUTES, [&](uint32_t tsi, Words words) {
        for (const Destination to : lists.destinations(listOfTsi(words)))
            routes.push_back({{static_cast<uint8_t>(tsi), Selector::ALL_PIDS}, to});
    });
    std::sort(routes.begin(), routes.end());
    return routes;
}

std::vector<List> listsOf(const Tables& tables, ListMap& lists)
{
    std::vector<List> facts;
    for (const uint16_t head : lists.headsBeside(listEntries(tables)))
        for (const Destination to : lists.destinations(head))
            facts.push_back({head, to});
    return facts;
}

bool isNoStuffing(Words ipOutRow)
{
    return std::any_of(IP_OUT_MAP.fields.begin(), IP_OUT_MAP.fields.end(), [&](const Field& field) {
        return field.isStored() && field.at.get(ipOutRow) != field.stuffing;
    });
}

} // namespace

const TableUse IP_INPUTS{IP_LUT, [](uint32_t, Words words) { return IpInEntry::FIELD<"ENABLED">.at.get(words) != 0; }};
const TableUse PHYS_INPUTS{PHYS_IN_MAP, [](uint32_t, Words words) { return !PHYS_IN_MAP.isUnused(words); }};
const TableUse IP_OUTPUTS{IP_OUT_MAP, [](uint32_t, Words words) { return isNoStuffing(words); }};
const TableUse PHYS_OUTPUTS{PHYS_OUT_MAP,
                            [](uint32_t, Words words) { return PhysOutEntry::FIELD<"ENABLED">.at.get(words) != 0; }};
const TableUse FILTERS{FILTER_TABLE, [](uint32_t filter, Words words) {
                           return filter != Destination::NO_FILTER &&
                                  FilterTabEntry::FIELD<"PACKET_COUNT">.at.get(words) != 0;
                       }};
const TableUse PID_ROUTES{PID_LUT, [](uint32_t, Words words) { return !isStuffing(packetsOf(words)); }};
const TableUse TSI_ROUTES{TSI_MAP,
                          [](uint32_t, Words words) { return TsiMapEntry::FIELD<"ENABLED">.at.get(words) != 0; }};
const TableUse LIST_ROWS{O_PID_MAP,
                         [](uint32_t, Words words) { return PidMapEntry::FIELD<"ENABLED">.at.get(words) != 0; }};

Selector packetsOf(Words pidLutRow)
{
    return {static_cast<uint8_t>(PidLutEntry::FIELD<"TSIIDX">.at.get(pidLutRow)),
            static_cast<uint16_t>(PidLutEntry::FIELD<"PID">.at.get(pidLutRow))};
}

bool isStuffing(const Selector& packets)
{
    return packets.tsi == PidLutEntry::FIELD<"TSIIDX">.at.max() && packets.pid == PidLutEntry::FIELD<"PID">.at.max();
}

std::optional<uint32_t> findPidLutRow(const Tables& tables, const Selector& packets)
{
    if (isStuffing(packets))
        return std::nullopt;
    uint32_t first = 0;
    uint32_t end = PID_LUT.rows;
    while (first < end) {
        const uint32_t middle = first + (end - first) / 2;
        const Selector found = packetsOf(tables.row(PID_LUT, middle));
        if (found == packets)
            return middle;
        if (found < packets)
            first = middle + 1;
        else
            end = middle;
    }
    return std::nullopt;
}

bool isOutRoute(Words pidLutRow) { return PidLutEntry::FIELD<"OUT_ROUTE">.at.get(pidLutRow) != 0; }

uint16_t listOf(Words pidLutRow) { return static_cast<uint16_t>(PidLutEntry::FIELD<"PIDIDX">.at.get(pidLutRow)); }

uint8_t filterOf(Words pidLutRow) { return static_cast<uint8_t>(PidLutEntry::FIELD<"FiltTabIDX">.at.get(pidLutRow)); }

uint16_t listOfTsi(Words tsiMapRow) { return static_cast<uint16_t>(TsiMapEntry::FIELD<"PIDidx">.at.get(tsiMapRow)); }

uint16_t restOf(const Tables& tables, uint8_t tsi)
{
    const Words row = tables.row(TSI_MAP, tsi);
    return TSI_ROUTES.isInUse(tsi, row) ? listOfTsi(row) : 0;
}

Endpoint groupOfInput(Words ipLutRow)
{
    return Endpoint::ip(IpInEntry::FIELD<"IP">.at.get(ipLutRow),
                        static_cast<uint16_t>(IpInEntry::FIELD<"UDP_PORT">.at.get(ipLutRow)));
}

Endpoint groupOfOutput(Words ipOutRow)
{
    return Endpoint::ip(IpOutEntry::FIELD<"IP">.at.get(ipOutRow),
                        static_cast<uint16_t>(IpOutEntry::FIELD<"UDP_PORT">.at.get(ipOutRow)));
}

Mac macOfOutput(Words ipOutRow)
{
    Mac mac{};
    for (std::size_t i = 0; i < mac.size(); ++i)
        mac[i] = static_cast<uint8_t>(MAC_FIELDS[i]->get(ipOutRow));
    return mac;
}

std::vector<uint16_t> listEntries(const Tables& tables)
{
    std::vector<uint16_t> entries;
    forEachRow(tables, PID_ROUTES, [&](uint32_t, Words words) {
        if (isOutRoute(words))
            entries.push_back(listOf(words));
    });
    forEachRow(tables, TSI_ROUTES, [&](uint32_t, Words words) { entries.push_back(listOfTsi(words)); });
    return entries;
}

Routing factsOf(const Tables& tables)
{
    ListMap lists(tables);
    Routing routing;
    routing.inputs = inputsOf(tables);
    routing.outputs = outputsOf(tables);
    routing.hasFilters = tables.hasFilters();
    routing.filters = filtersOf(tables);
    routing.routes = routesOf(tables, lists);
    routing.lists = listsOf(tables, lists);
    return routing;
}

} // namespace Osl::ZebRouting
