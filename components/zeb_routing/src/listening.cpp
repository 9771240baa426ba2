#include "decode.h"
#include "encode.h"
#include "list_map.h"
#include "pid_lut_plan.h"
#include "plan_text.h"
#include "row_writer.h"

#include <osl/userspace_drivers/drivers/zeb/ts/filtertabentry.h>
#include <osl/userspace_drivers/drivers/zeb/ts/pidlutentry.h>
#include <osl/userspace_drivers/drivers/zeb/ts/pidmapentry.h>
#include <osl/zeb_routing/listening.h>

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <bitset>
#include <utility>

namespace Osl::ZebRouting {

using namespace Drivers::Zeb;

namespace {

/// What passes the filters, by their distance from the first one.
constexpr std::array<uint32_t, 4> FILTER_COUNTS{61, 61, 1, 1};
constexpr uint32_t HIGHEST_FIRST = Destination::NO_FILTER - static_cast<uint32_t>(FILTER_COUNTS.size());
/// The new PID without a use that a row has by which packets are counted.
constexpr uint32_t COUNTER_MARK = 0x1ACE;

uint32_t countOf(const Tables& tables, uint32_t filter)
{
    return FilterTabEntry::FIELD<"PACKET_COUNT">.at.get(tables.row(FILTER_TABLE, filter));
}

bool isCpuRoute(Words pidLutRow) { return PidLutEntry::FIELD<"CPU_ROUTE">.at.get(pidLutRow) != 0; }

std::bitset<256> filtersInUse(const Tables& tables)
{
    std::bitset<256> used;
    forEachRow(tables, PID_ROUTES, [&](uint32_t, Words words) {
        if (isCpuRoute(words))
            used.set(filterOf(words));
    });
    return used;
}

/// The filters of a listener: the first of them, and how many there are, less than all when it is setting them up or
/// clearing them.
struct ListenersFilters
{
    uint32_t first;
    std::size_t count;

    bool areAll() const { return count == FILTER_COUNTS.size(); }
    std::optional<std::size_t> placeOf(uint8_t filter) const
    {
        return filter >= first && filter < first + count ? std::optional<std::size_t>(filter - first) : std::nullopt;
    }
};

/// How many rows from `first` on are a listener's; nullopt when one behind them is in use otherwise.
std::optional<std::size_t> filtersOfListener(const Tables& tables, uint32_t first)
{
    std::size_t count = 0;
    while (count < FILTER_COUNTS.size() &&
           countOf(tables, first + static_cast<uint32_t>(count)) == FILTER_COUNTS[count])
        ++count;
    for (std::size_t i = count; i < FILTER_COUNTS.size(); ++i)
        if (countOf(tables, first + static_cast<uint32_t>(i)) != 0)
            return std::nullopt;
    return count;
}

/// Those of a listener, or the place for some. Some but not all are a listener's only at that place, where no row uses
/// them.
std::optional<ListenersFilters> findFilters(const Tables& tables)
{
    for (uint32_t first = HIGHEST_FIRST + 1; first-- > 0;)
        if (filtersOfListener(tables, first) == FILTER_COUNTS.size())
            return ListenersFilters{first, FILTER_COUNTS.size()};
    const auto used = filtersInUse(tables);
    for (uint32_t first = HIGHEST_FIRST + 1; first-- > 0;) {
        const auto count = filtersOfListener(tables, first);
        if (count && ((used >> first) & std::bitset<256>(0xF)).none())
            return ListenersFilters{first, *count};
    }
    return std::nullopt;
}

/// No counters: row 0, and the one that unused rows of the PID LUT name.
constexpr std::size_t RESERVED_LIST_ROWS = 2;

/// But for the reserved ones.
std::bitset<O_PID_MAP.rows> listRowsInUse(const Tables& tables)
{
    std::bitset<O_PID_MAP.rows> used;
    const ListChains lists(tables);
    const auto reach = [&](uint16_t row) {
        for (; row != 0 && !used[row]; row = lists.next(row))
            used.set(row);
    };
    for (const uint16_t entry : listEntries(tables))
        reach(entry);
    forEachRow(tables, LIST_ROWS, [&](uint32_t row, Words) { reach(static_cast<uint16_t>(row)); });
    used.reset(O_PID_MAP.rows - 1);
    return used;
}

bool isCounter(Words listRow)
{
    return PidMapEntry::FIELD<"ENABLED">.at.get(listRow) != 0 && PidMapEntry::FIELD<"REMAP">.at.get(listRow) == 0 &&
           PidMapEntry::FIELD<"REMAP_PID">.at.get(listRow) == COUNTER_MARK;
}

RowCopy copyOf(Words words) { return {words.begin(), words.end()}; }

/// The rows of the PID LUT by their packets. Raises RoutingError when some are not where the FPGA looks for them.
PidLutRows orderedRows(const Tables& tables)
{
    PidLutRows rows;
    uint32_t next = 0;
    forEachRow(tables, PID_ROUTES, [&](uint32_t row, Words words) {
        const Selector packets = packetsOf(words);
        if (row != next++ || (!rows.empty() && !(rows.rbegin()->first < packets)))
            OSL_RAISE(RoutingError,
                      fmt::format("the {} is not in order at row {}; `zeb_route check` says more, and `zeb_route show "
                                  "| zeb_route apply -` puts it in order",
                                  PID_LUT.name, row));
        rows.emplace(packets, copyOf(words));
    });
    return rows;
}

void setPidLut(Tables& tables, const PidLutRows& rows)
{
    if (rows.size() > PID_LUT.rows)
        OSL_RAISE(RoutingError,
                  fmt::format("the {} has {} rows, but {} are needed", PID_LUT.name, PID_LUT.rows, rows.size()));
    uint32_t row = 0;
    for (const auto& [packets, words] : rows)
        tables.setRow(PID_LUT, row++, words);
    for (const RowCopy unused = PidLutEntry().getWords(); row < PID_LUT.rows; ++row)
        if (!isStuffing(packetsOf(tables.row(PID_LUT, row))))
            tables.setRow(PID_LUT, row, unused);
}

/// Puts counters in front of lists.
class Counters
{
public:
    explicit Counters(Tables& tables) : m_Tables(tables), m_Used(listRowsInUse(tables)) {}

    void putBefore(RowCopy& pidLutRow, uint8_t tso)
    {
        while (m_Next != 0 && m_Used[m_Next])
            --m_Next;
        if (m_Next == 0)
            OSL_RAISE(RoutingError, fmt::format("the {} has no free row to count by", O_PID_MAP.name));
        RowCopy words = listRow(Destination::output(tso), isOutRoute(pidLutRow) ? listOf(pidLutRow) : uint16_t{0});
        PidMapEntry::FIELD<"REMAP_PID">.at.put(words, COUNTER_MARK);
        m_Tables.setRow(O_PID_MAP, m_Next, words);
        PidLutEntry::FIELD<"PIDIDX">.at.put(pidLutRow, m_Next--);
        PidLutEntry::FIELD<"OUT_ROUTE">.at.put(pidLutRow, 1);
    }

    /// Undoes it; false when there is none.
    static bool takeAway(RowCopy& pidLutRow, const Tables& tables)
    {
        if (!isOutRoute(pidLutRow) || !isCounter(tables.row(O_PID_MAP, listOf(pidLutRow))))
            return false;
        const uint16_t list = ListChains(tables).next(listOf(pidLutRow));
        PidLutEntry::FIELD<"PIDIDX">.at.put(pidLutRow, list == 0 ? PidLutEntry::FIELD<"PIDIDX">.stuffing : list);
        PidLutEntry::FIELD<"OUT_ROUTE">.at.put(pidLutRow, list == 0 ? 0 : 1);
        return true;
    }

private:
    Tables& m_Tables;
    std::bitset<O_PID_MAP.rows> m_Used;
    uint16_t m_Next = O_PID_MAP.rows - RESERVED_LIST_ROWS; ///< from the top
};

/// A row that routes as the packets go without one.
RowCopy rowLikeRest(const Tables& tables, const Selector& packets)
{
    const uint16_t list = restOf(tables, packets.tsi);
    return pidRow(packets, {.outRoute = list != 0,
                            .cpuRoute = false,
                            .list = list != 0 ? list : static_cast<uint16_t>(PidLutEntry::FIELD<"PIDIDX">.stuffing),
                            .filter = Destination::NO_FILTER});
}

} // namespace

Tables withCopies(const Tables& tables, uint8_t tsi, const Copies& copies)
{
    const auto filters = findFilters(tables);
    if (!filters)
        OSL_RAISE(RoutingError,
                  fmt::format("the {} has no {} unused rows side by side", FILTER_TABLE.name, FILTER_COUNTS.size()));
    Tables target = tables;
    for (std::size_t i = 0; i < FILTER_COUNTS.size(); ++i)
        target.setRow(FILTER_TABLE, filters->first + static_cast<uint32_t>(i),
                      std::array{FILTER_COUNTS[i]}); // its row is the count
    PidLutRows rows = orderedRows(tables);
    Counters counters(target);
    for (const auto& [pid, copy] : copies) {
        const Selector packets{tsi, pid};
        const auto [entry, isNew] = rows.try_emplace(packets, rowLikeRest(tables, packets));
        RowCopy& row = entry->second;
        if (!isCpuRoute(row)) {
            PidLutEntry::FIELD<"CPU_ROUTE">.at.put(row, copy.counter ? 0 : 1);
            PidLutEntry::FIELD<"FiltTabIDX">.at.put(row, filters->first + (copy.whole ? 0 : 2) + (isNew ? 1 : 0));
        }
        if (copy.counter)
            counters.putBefore(row, *copy.counter);
    }
    setPidLut(target, rows);
    return target;
}

Tables withoutCopies(const Tables& tables)
{
    const auto filters = findFilters(tables);
    if (!filters || filters->count == 0)
        return tables;
    Tables rest = tables;
    for (std::size_t i = 0; i < filters->count; ++i)
        rest.setRow(FILTER_TABLE, filters->first + static_cast<uint32_t>(i), std::array{uint32_t{0}});
    if (!filters->areAll())
        return rest;
    PidLutRows rows;
    forEachRow(tables, PID_ROUTES, [&](uint32_t, Words words) {
        RowCopy row = copyOf(words);
        const bool isCounted = Counters::takeAway(row, tables);
        const auto place = isCounted || isCpuRoute(row) ? filters->placeOf(filterOf(row)) : std::nullopt;
        if (place && *place % 2 == 1)
            return; // which the listener has added
        if (place) {
            PidLutEntry::FIELD<"CPU_ROUTE">.at.put(row, 0);
            PidLutEntry::FIELD<"FiltTabIDX">.at.put(row, Destination::NO_FILTER);
        }
        rows.emplace(packetsOf(row), row);
    });
    setPidLut(rest, rows);
    const RowCopy unused = PidMapEntry().getWords();
    forEachRow(tables, LIST_ROWS, [&](uint32_t row, Words words) {
        if (isCounter(words))
            rest.setRow(O_PID_MAP, row, unused);
    });
    return rest;
}

Plan planCopies(const Tables& now, const Tables& target)
{
    RowWriter writer(now);
    const auto forEachChange = [&](const TableLayout& table, bool toUnused, const auto& change) {
        for (uint32_t i = table.rows; i-- > table.firstRow;) {
            const uint32_t row = toUnused ? i : table.rows - 1 - i + table.firstRow;
            if (table.isUnused(target.row(table, row)) == toUnused)
                change(row);
        }
    };
    const auto write = [&](const TableLayout& table, bool toUnused, std::string text) {
        writer.begin(table, std::move(text), toUnused);
        forEachChange(table, toUnused, [&](uint32_t row) { writer.write(row, target.row(table, row)); });
    };
    write(FILTER_TABLE, false, "filters of the listener");
    write(O_PID_MAP, false, "rows to count by");
    const auto isSame = [](Words a, Words b) { return std::equal(a.begin(), a.end(), b.begin(), b.end()); };
    std::size_t changed = 0;
    for (uint32_t row = 0; row < PID_LUT.rows; ++row)
        changed += isSame(now.row(PID_LUT, row), target.row(PID_LUT, row)) ? 0 : 1;
    if (changed != 0)
        writer.replace(PID_LUT, fmt::format("{}: {}, one switch", PID_LUT.name, changesText(changed)), changed, target);
    write(O_PID_MAP, true, "rows that nobody counts by any more");
    write(FILTER_TABLE, true, "filters of the listener, no longer needed");
    return {writer.finish(), {}, writer.now()};
}

std::size_t freePidRows(const Tables& tables)
{
    std::size_t rows = PID_LUT.rows;
    forEachRow(tables, PID_ROUTES, [&](uint32_t, Words) { --rows; });
    return rows;
}

std::vector<uint8_t> freeCounters(const Tables& tables)
{
    std::bitset<STATUS_COUNT> used;
    for (const TableUse* const outputs : {&IP_OUTPUTS, &PHYS_OUTPUTS})
        forEachRow(tables, *outputs, [&](uint32_t tso, Words) { used.set(tso); });
    const ListChains lists(tables);
    forEachRow(tables, LIST_ROWS,
               [&](uint32_t row, Words) { used.set(lists.destination(static_cast<uint16_t>(row)).tso()); });
    const std::size_t freeRows = O_PID_MAP.rows - RESERVED_LIST_ROWS - listRowsInUse(tables).count();
    std::vector<uint8_t> free;
    for (uint32_t tso = STATUS_COUNT - 1; tso-- > 0 && free.size() < freeRows;) // the last is what unused rows name
        if (!used[tso])
            free.push_back(static_cast<uint8_t>(tso));
    return free;
}

std::map<uint16_t, std::optional<uint8_t>> pidsWithRows(const Tables& tables, uint8_t tsi)
{
    std::map<uint16_t, std::optional<uint8_t>> pids;
    forEachRow(tables, PID_ROUTES, [&](uint32_t, Words words) {
        if (const Selector packets = packetsOf(words); packets.tsi == tsi)
            pids.emplace(packets.pid, isCpuRoute(words) ? std::optional(filterOf(words)) : std::nullopt);
    });
    return pids;
}

} // namespace Osl::ZebRouting
