#include "decode.h"
#include "list_map.h"

#include <osl/userspace_drivers/drivers/zeb/ts/filtertabentry.h>
#include <osl/userspace_drivers/drivers/zeb/ts/pidlutentry.h>
#include <osl/zeb_routing/trace.h>

#include <fmt/format.h>

#include <algorithm>

namespace Osl::ZebRouting {

using namespace Drivers::Zeb;

namespace {

/// Follows one packet, and notes what happens to it.
class Follower
{
public:
    Follower(const Source& source, uint8_t tsi, uint16_t pid) : m_Source(source), m_Trace{.tsi = tsi, .pid = pid} {}

    Trace follow()
    {
        m_Trace.inputs = inputNames(m_Source.routing, m_Trace.tsi);
        note("TSI {}: {}", m_Trace.tsi, m_Trace.inputs.empty() ? "no input feeds it" : listed(m_Trace.inputs));
        const Selector packets{m_Trace.tsi, m_Trace.pid};
        if (const auto row = findPidLutRow(m_Source.tables, packets))
            followRow(*row);
        else
            followWholeTsi(packets);
        if (!m_Trace.exits.empty())
            m_Trace.dropped.clear();
        return std::move(m_Trace);
    }

private:
    void followRow(uint32_t row)
    {
        m_Trace.by = "pidlut";
        const Words words = m_Source.tables.row(PID_LUT, row);
        const bool toCpu = PidLutEntry::FIELD<"CPU_ROUTE">.at.get(words) != 0;
        note("PID LUT: row {}{}{}{}", row, isOutRoute(words) ? fmt::format(", PIDIDX {}", listOf(words)) : "",
             toCpu ? ", to the processor" : "", !toCpu && !isOutRoute(words) ? ", which routes nowhere" : "");
        m_Trace.dropped = fmt::format("row {} of the PID LUT routes nowhere", row);
        if (isOutRoute(words))
            followList(listOf(words));
        if (toCpu)
            reachCpu(filterOf(words));
    }

    void followWholeTsi(const Selector& packets)
    {
        note("PID LUT: {}", isStuffing(packets) ? "the FPGA never looks for this PID of TSI 255, as unused rows have it"
                                                : whyNoRow(packets));
        const Words words = m_Source.tables.row(TSI_MAP, packets.tsi);
        if (!TSI_ROUTES.isInUse(packets.tsi, words)) {
            note("TSI MAP: row {} is not enabled", packets.tsi);
            m_Trace.dropped = fmt::format("neither the PID LUT nor the TSI MAP has a row for {}", toString(packets));
            return;
        }
        m_Trace.by = "tsimap";
        note("TSI MAP: row {}, PIDIDX {}", packets.tsi, listOfTsi(words));
        followList(listOfTsi(words));
    }

    std::string whyNoRow(const Selector& packets) const
    {
        std::string why = "no row for " + toString(packets);
        forEachRow(m_Source.tables, PID_ROUTES, [&](uint32_t row, Words words) {
            if (packetsOf(words) == packets)
                why = fmt::format("row {} is not found, as the rows are not sorted", row);
        });
        return why;
    }

    void followList(uint16_t pidIdx)
    {
        const ListChains lists(m_Source.tables);
        const std::vector<uint16_t> rows = lists.rowsFrom(pidIdx);
        for (const uint16_t row : rows) {
            const Destination to = lists.destination(row);
            const uint16_t leaving = to.newPid().value_or(m_Trace.pid);
            note("PIDIDX {}: to TSO {}{}", row, to.tso(), to.newPid() ? fmt::format(" as PID 0x{:04x}", leaving) : "");
            m_Trace.exits.push_back({to.tso(), leaving, 0, outputNames(m_Source.routing, to.tso())});
            note("TSO {}: {}", to.tso(),
                 m_Trace.exits.back().outputs.empty() ? "no enabled output" : listed(m_Trace.exits.back().outputs));
        }
        if (lists.loops(pidIdx))
            note("PIDIDX {}: the list loops", pidIdx);
        if (rows.empty()) {
            note("PIDIDX {}: {}", pidIdx,
                 pidIdx == 0 ? "is reserved and leads nowhere" : "no row of the list is enabled");
            m_Trace.dropped = fmt::format("the replication list from PIDIDX {} has no enabled row", pidIdx);
        }
    }

    void reachCpu(uint8_t filter)
    {
        const uint32_t count = FilterTabEntry::FIELD<"PACKET_COUNT">.at.get(m_Source.tables.row(FILTER_TABLE, filter));
        if (filter == Destination::NO_FILTER)
            note("processor: all packets");
        else if (!m_Source.tables.hasFilters())
            note("processor: through filter {}", filter);
        else if (count == 0)
            note("processor: filter {} is not set and lets nothing through", filter);
        else if (count == Filter::WHOLE_UNIT)
            note("processor: through filter {}, whole payload units", filter);
        else
            note("processor: through filter {}, {} packets of each payload unit", filter, count);
        if (filter != Destination::NO_FILTER && m_Source.tables.hasFilters() && count == 0)
            m_Trace.dropped = fmt::format("filter {} is not set", filter);
        else
            m_Trace.exits.push_back({std::nullopt, m_Trace.pid, filter, {}});
    }

    template <class... Args>
    void note(fmt::format_string<Args...> format, Args&&... args)
    {
        m_Trace.steps.push_back(fmt::format(format, std::forward<Args>(args)...));
    }
    static std::string listed(const std::vector<std::string>& names)
    {
        return fmt::format("{}", fmt::join(names, ", "));
    }

    const Source& m_Source;
    Trace m_Trace;
};

bool hasRow(const Routing& routing, const Selector& packets)
{
    const auto route = std::lower_bound(routing.routes.begin(), routing.routes.end(), packets,
                                        [](const Route& a, const Selector& b) { return a.packets < b; });
    return route != routing.routes.end() && route->packets == packets;
}

} // namespace

std::vector<std::string> inputNames(const Routing& routing, uint8_t tsi)
{
    std::vector<std::string> names;
    for (const Input& input : routing.inputs)
        if (input.tsi == tsi)
            names.push_back(inputName(input.from));
    return names;
}

std::vector<std::string> outputNames(const Routing& routing, uint8_t tso)
{
    std::vector<std::string> names;
    for (const Output& output : routing.outputs)
        if (output.tso == tso && output.enabled)
            names.push_back(outputName(output.to));
    return names;
}

Trace trace(const Source& source, uint8_t tsi, uint16_t pid) { return Follower(source, tsi, pid).follow(); }

BackTrace traceBack(const Source& source, uint8_t tso, std::optional<uint16_t> pid)
{
    const Routing& routing = source.routing;
    BackTrace trace{.tso = tso, .pid = pid, .from = {}};
    for (const auto& [packets, to] : routing.routes) {
        if (!to.isOutput() || to.tso() != tso)
            continue;
        std::optional<uint16_t> as = to.newPid();
        if (!as && !packets.isWholeTsi())
            as = packets.pid;
        if (!as && pid && !hasRow(routing, {packets.tsi, *pid}))
            as = pid; // which the whole TSI may bring along
        if (!pid || as == pid)
            trace.from.push_back({packets, as, inputNames(routing, packets.tsi)});
    }
    return trace;
}

} // namespace Osl::ZebRouting
