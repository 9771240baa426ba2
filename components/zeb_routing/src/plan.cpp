#include "decode.h"
#include "list_plan.h"
#include "list_writer.h"
#include "pid_lut_plan.h"
#include "plan_text.h"
#include "row_writer.h"

#include <osl/userspace_drivers/drivers/zeb/ts/pidlutentry.h>
#include <osl/zeb_routing/plan.h>

#include <fmt/format.h>

#include <algorithm>
#include <bitset>
#include <set>
#include <utility>

namespace Osl::ZebRouting {

using namespace Drivers::Zeb;

namespace {

class Planner
{
public:
    Planner(const Tables& present, const Routing& wanted, bool usesLeftLists)
        : m_Present(present),
          m_Wanted(wanted),
          m_Facts(factsOf(present)),
          m_Lists(present, wanted, usesLeftLists),
          m_Target(withoutRoutes(wanted)),
          m_Writer(present)
    {
    }

    Plan make();

private:
    static Tables withoutRoutes(Routing wanted);
    void writeOutputs(bool inUse);
    void writeFilters(bool inUse);
    void switchPidLut(const PidLutRows& rows, const char* occasion);
    void writeTsiMap();
    void writeInputs();
    void writeUsed(const TableUse& table, uint32_t row);

    const Tables& m_Present;
    const Routing& m_Wanted;
    const Routing m_Facts; ///< of the present tables
    ListPlan m_Lists;
    Tables m_Target; ///< inputs, outputs and filters
    RowWriter m_Writer;
    ListWriter m_ListWriter{m_Present, m_Lists, m_Writer};
};

Tables Planner::withoutRoutes(Routing wanted)
{
    wanted.routes.clear();
    wanted.lists.clear();
    return compile(wanted);
}

/// The row as the target has it, unless it is unused in both.
void Planner::writeUsed(const TableUse& table, uint32_t row)
{
    const Words target = m_Target.row(table.layout, row);
    if (table.isInUse(row, target) || table.isInUse(row, m_Writer.now().row(table.layout, row)))
        m_Writer.write(row, target);
}

void Planner::writeOutputs(bool inUse)
{
    const ListChains lists(m_Present);
    const ListPlan::RowSet reached = m_Lists.reachedBefore();
    std::bitset<IP_OUT_MAP.rows> used;
    for (uint32_t row = O_PID_MAP.firstRow; row < O_PID_MAP.rows; ++row)
        if (const auto index = static_cast<uint16_t>(row); reached[row] && lists.isEnabled(index))
            used.set(lists.destination(index).tso());
    for (uint32_t tso = 0; tso < IP_OUT_MAP.rows; ++tso) {
        if (used[tso] != inUse)
            continue;
        for (const TableUse* table : {&IP_OUTPUTS, &PHYS_OUTPUTS}) {
            m_Writer.begin(table->layout, fmt::format("output {}: {}", tso, table == &IP_OUTPUTS ? "group" : "port"));
            writeUsed(*table, tso);
        }
    }
}

void Planner::writeFilters(bool inUse)
{
    if (!m_Wanted.hasFilters)
        return;
    std::set<uint32_t> used;
    forEachRow(m_Present, PID_ROUTES, [&](uint32_t, Words words) {
        if (PidLutEntry::FIELD<"CPU_ROUTE">.at.get(words) != 0)
            used.insert(filterOf(words));
    });
    for (uint32_t filter = 0; filter < FILTER_TABLE.rows; ++filter) {
        if (used.contains(filter) != inUse)
            continue;
        m_Writer.begin(FILTER_TABLE, fmt::format("filter {}", filter));
        writeUsed(FILTERS, filter);
    }
}

/// A table that says the same in the same order is not switched.
void Planner::switchPidLut(const PidLutRows& rows, const char* occasion)
{
    const PidLutChange change(m_Writer.now(), rows, occasion);
    if (change.isNeeded)
        m_Writer.replace(PID_LUT,
                         change.rows == 0
                             ? std::string("PID LUT: rows are put in order, one switch")
                             : fmt::format("PID LUT: {}, one switch{}", changesText(change.rows), occasion),
                         change.rows, change.next);
}

void Planner::writeTsiMap()
{
    for (uint32_t index = 0; index < TSI_MAP.rows; ++index) {
        const auto tsi = static_cast<uint8_t>(index);
        if (const uint16_t head = m_Lists.headOf({tsi, Selector::ALL_PIDS}); head != 0) {
            m_Writer.begin(TSI_MAP, fmt::format("TSI MAP {}: list {}", tsi, head));
            m_Writer.write(tsi, tsiRow(head));
        } else if (TSI_ROUTES.isInUse(tsi, m_Present.row(TSI_MAP, tsi)) &&
                   !m_Lists.staysEmpty(restOf(m_Present, tsi))) {
            m_Writer.begin(TSI_MAP, fmt::format("TSI MAP {}: off", tsi));
            m_Writer.clear(tsi);
        }
    }
}

void Planner::writeInputs()
{
    for (uint32_t port = 0; port < PHYS_IN_MAP.rows; ++port) {
        m_Writer.begin(PHYS_IN_MAP, fmt::format("input {}", inputName(Endpoint::port(static_cast<uint8_t>(port)))));
        writeUsed(PHYS_INPUTS, port);
    }
    std::size_t changed = 0;
    for (uint32_t row = 0; row < IP_LUT.rows; ++row) {
        const Words before = m_Present.row(IP_LUT, row);
        const Words after = m_Target.row(IP_LUT, row);
        if ((IP_INPUTS.isInUse(row, before) || IP_INPUTS.isInUse(row, after)) && !sameFields(IP_LUT, before, after))
            ++changed;
    }
    if (changed != 0)
        m_Writer.replace(IP_LUT, fmt::format("IP LUT: {}, one switch", changesText(changed)), changed, m_Target);
}

Plan Planner::make()
{
    const PidLutPlan pidLut(m_Present, m_Facts, m_Wanted, m_Lists);
    m_ListWriter.writeNew();
    writeFilters(false);
    writeOutputs(false);
    std::vector<std::string> notes;
    m_ListWriter.changeInPlace(false, notes);
    switchPidLut(pidLut.meanwhile,
                 pidLut.meanwhile.size() == pidLut.wanted.size() ? "" : " before the TSI MAP changes");
    m_ListWriter.changeInPlace(true, notes); // when no packet that gets a row of its own follows them any more
    writeTsiMap();
    switchPidLut(pidLut.wanted, "");
    m_ListWriter.writeNumbered();
    writeOutputs(true);
    writeFilters(true);
    writeInputs();
    m_ListWriter.clearUnused(m_Wanted);

    Plan plan{m_Writer.finish(), std::move(notes), m_Writer.now()};
    if (!difference(factsOf(plan.result), m_Wanted).empty())
        OSL_RAISE(RoutingError, "no way was found to what is wanted; nothing was written");
    return plan;
}

} // namespace

std::size_t Plan::rowsWritten() const
{
    std::size_t rows = 0;
    for (const Step& step : steps)
        rows += step.rows;
    return rows;
}

std::size_t Plan::switches() const
{
    return static_cast<std::size_t>(
        std::count_if(steps.begin(), steps.end(), [](const Step& step) { return !step.bank.empty(); }));
}

Plan planChange(const Tables& present, const Routing& wanted)
{
    try {
        return Planner(present, wanted, true).make();
    } catch (const RowsRunShort&) {
        // A list that was left can stand in the way of a better choice; then it gives its rows.
        return Planner(present, wanted, false).make();
    }
}

} // namespace Osl::ZebRouting
