#include "pid_lut_plan.h"

#include "decode.h"
#include "row_writer.h"

#include <osl/userspace_drivers/drivers/zeb/ts/pidlutentry.h>

#include <fmt/format.h>

#include <set>
#include <utility>

namespace Osl::ZebRouting {

using namespace Drivers::Zeb;

namespace {

PidLutRows presentRows(const Tables& tables)
{
    PidLutRows rows;
    forEachRow(tables, PID_ROUTES,
               [&](uint32_t, Words words) { rows.try_emplace(packetsOf(words), words.begin(), words.end()); });
    return rows;
}

/// A field without a meaning in its row stays as it is: a change of it would be none to the routing.
PidLutRows wantedRows(const PidLutRows& present, const Routing& wanted, const ListPlan& lists)
{
    static const RowCopy UNUSED = PidLutEntry().getWords();
    PidLutRows rows;
    for (const RouteGroup& route : groupsOf(wanted.routes)) {
        if (route.packets.isWholeTsi())
            continue;
        const auto found = present.find(route.packets);
        const RowCopy& before = found == present.end() ? UNUSED : found->second;
        const bool staysEmpty = route.outputs.empty() && isOutRoute(before) && lists.staysEmpty(listOf(before));
        const bool toOutputs = !route.outputs.empty() || staysEmpty;
        const bool keepsList = staysEmpty || (!toOutputs && !isOutRoute(before));
        const bool keepsFilter = PidLutEntry::FIELD<"CPU_ROUTE">.at.get(before) == 0;
        const uint16_t unledTo = keepsList ? listOf(before) : listOf(UNUSED);
        rows.emplace(route.packets,
                     pidRow(route.packets,
                            {.outRoute = toOutputs,
                             .cpuRoute = route.filter.has_value(),
                             .list = route.outputs.empty() ? unledTo : lists.headOf(route.packets),
                             .filter = route.filter.value_or(keepsFilter ? filterOf(before) : filterOf(UNUSED))}));
    }
    return rows;
}

std::set<uint8_t> tsisWhoseRestChanges(const Tables& present, const Routing& facts, const Routing& wanted,
                                       const ListPlan& lists)
{
    std::map<uint8_t, RouteGroup> before;
    std::map<uint8_t, RouteGroup> after;
    for (const auto& [routes, groups] : {std::pair(&facts.routes, &before), {&wanted.routes, &after}})
        for (const RouteGroup& route : groupsOf(*routes))
            if (route.packets.isWholeTsi())
                groups->emplace(route.packets.tsi, route);
    std::set<uint8_t> tsis;
    for (uint32_t index = 0; index < TSI_MAP.rows; ++index) {
        const auto tsi = static_cast<uint8_t>(index);
        const bool was = before.contains(tsi);
        const bool will = after.contains(tsi);
        if (was != will || (was && (before[tsi].outputs != after[tsi].outputs ||
                                    restOf(present, tsi) != lists.headOf({tsi, Selector::ALL_PIDS}))))
            tsis.insert(tsi);
    }
    return tsis;
}

} // namespace

PidLutPlan::PidLutPlan(const Tables& present, const Routing& facts, const Routing& routing, const ListPlan& lists)
{
    const PidLutRows before = presentRows(present);
    wanted = wantedRows(before, routing, lists);
    meanwhile = wanted;
    const std::set<uint8_t> tsis = tsisWhoseRestChanges(present, facts, routing, lists);
    for (const auto& entry : before) {
        const Selector& packets = entry.first;
        if (const auto row = tsis.contains(packets.tsi) ? findPidLutRow(present, packets) : std::nullopt) {
            const Words words = present.row(PID_LUT, *row);
            meanwhile.emplace(packets, RowCopy(words.begin(), words.end()));
        }
    }
}

PidLutChange::PidLutChange(const Tables& now, const PidLutRows& wanted, const char* occasion)
{
    if (wanted.size() > PID_LUT.rows)
        OSL_RAISE(RoutingError, fmt::format("the {} has {} rows, but {} are needed{}", PID_LUT.name, PID_LUT.rows,
                                            wanted.size(), occasion));
    const PidLutRows before = presentRows(now);
    uint32_t row = 0;
    for (const auto& [packets, words] : wanted) {
        const auto found = before.find(packets);
        rows += found == before.end() || !sameFields(PID_LUT, found->second, words) ? 1 : 0;
        isNeeded = isNeeded || !sameFields(PID_LUT, now.row(PID_LUT, row), words);
        next.setRow(PID_LUT, row++, words);
    }
    for (const auto& [packets, words] : before)
        rows += wanted.contains(packets) ? 0 : 1;
    for (; row < PID_LUT.rows; ++row)
        isNeeded = isNeeded || !isStuffing(packetsOf(now.row(PID_LUT, row)));
}

} // namespace Osl::ZebRouting
