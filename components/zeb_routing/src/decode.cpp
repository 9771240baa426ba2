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
        inputs.push_back({static_cast<uint8_t>(IpInFields::TSI_IDX.get(words)), groupOfInput(words)});
    });
    firstOfEach(inputs, [](const Input& input) { return input.from; });
    forEachRow(tables, PHYS_INPUTS, [&](uint32_t port, Words words) {
        inputs.push_back(
            {static_cast<uint8_t>(PhysInFields::TSI_IDX.get(words)), Endpoint::port(static_cast<uint8_t>(port))});
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
                           .rtp = IpOutFields::RTP.get(words) != 0,
                           .enabled = IpOutFields::ENABLED.get(words) != 0});
    });
    forEachRow(tables, PHYS_OUTPUTS, [&](uint32_t tso, Words words) {
        const auto port = static_cast<uint8_t>(PhysOutFields::PHYO_IDX.get(words));
        outputs.push_back({.tso = static_cast<uint8_t>(tso), .to = Endpoint::port(port)});
    });
    std::sort(outputs.begin(), outputs.end());
    return outputs;
}

std::vector<Filter> filtersOf(const Tables& tables)
{
    std::vector<Filter> filters;
    forEachRow(tables, FILTERS, [&](uint32_t filter, Words words) {
        filters.push_back({static_cast<uint8_t>(filter), FilterTabFields::PACKET_COUNT.get(words)});
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
        if (PidLutFields::CPU_ROUTE.get(words) != 0)
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
    static const std::vector<uint32_t> STUFFING = IpOutEntry().getWords();
    return std::any_of(IpOutFields::ALL.begin(), IpOutFields::ALL.end(), [&](const Drivers::Misc::BitField& field) {
        return field.get(ipOutRow) != field.get(STUFFING);
    });
}

} // namespace

const TableUse IP_INPUTS{IP_LUT, [](uint32_t, Words words) { return IpInFields::ENABLED.get(words) != 0; }};
const TableUse PHYS_INPUTS{
    PHYS_IN_MAP, [](uint32_t, Words words) { return PhysInFields::TSI_IDX.get(words) != PhysInEntry::STUFFING_TSI; }};
const TableUse IP_OUTPUTS{IP_OUT_MAP, [](uint32_t, Words words) { return isNoStuffing(words); }};
const TableUse PHYS_OUTPUTS{PHYS_OUT_MAP, [](uint32_t, Words words) { return PhysOutFields::ENABLED.get(words) != 0; }};
const TableUse FILTERS{FILTER_TABLE, [](uint32_t filter, Words words) {
                           return filter != Destination::NO_FILTER && FilterTabFields::PACKET_COUNT.get(words) != 0;
                       }};
const TableUse PID_ROUTES{PID_LUT, [](uint32_t, Words words) { return !isStuffing(packetsOf(words)); }};
const TableUse TSI_ROUTES{TSI_MAP, [](uint32_t, Words words) { return TsiMapFields::ENABLED.get(words) != 0; }};
const TableUse LIST_ROWS{O_PID_MAP, [](uint32_t, Words words) { return PidMapFields::ENABLED.get(words) != 0; }};

Selector packetsOf(Words pidLutRow)
{
    return {static_cast<uint8_t>(PidLutFields::TSIIDX.get(pidLutRow)),
            static_cast<uint16_t>(PidLutFields::PID.get(pidLutRow))};
}

bool isStuffing(const Selector& packets)
{
    return packets.tsi == PidLutFields::TSIIDX.max() && packets.pid == PidLutFields::PID.max();
}

bool isOutRoute(Words pidLutRow) { return PidLutFields::OUT_ROUTE.get(pidLutRow) != 0; }

uint16_t listOf(Words pidLutRow) { return static_cast<uint16_t>(PidLutFields::PIDIDX.get(pidLutRow)); }

uint8_t filterOf(Words pidLutRow) { return static_cast<uint8_t>(PidLutFields::FILT_TAB_IDX.get(pidLutRow)); }

uint16_t listOfTsi(Words tsiMapRow) { return static_cast<uint16_t>(TsiMapFields::PID_IDX.get(tsiMapRow)); }

Endpoint groupOfInput(Words ipLutRow)
{
    return Endpoint::ip(IpInFields::IP.get(ipLutRow), static_cast<uint16_t>(IpInFields::UDP_PORT.get(ipLutRow)));
}

Endpoint groupOfOutput(Words ipOutRow)
{
    return Endpoint::ip(IpOutFields::IP.get(ipOutRow), static_cast<uint16_t>(IpOutFields::UDP_PORT.get(ipOutRow)));
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
