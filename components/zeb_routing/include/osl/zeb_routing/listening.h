#pragma once

#include <osl/zeb_routing/plan.h>
#include <osl/zeb_routing/tables.h>

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <vector>

/// Rows that let somebody listen to packets without a change of where they go.
///
/// A packet gets its copy for the processor by its row of the PID LUT: the one that it has, or one that sends it where
/// the TSI MAP would. Copies pass through four rows of the FILTER TABLE, the highest ones side by side that nobody
/// uses, by which what a killed listener has left is told from everything else:
///
///     filter         | packets of a payload unit | copies
///     first (anchor) | 61                        | all, of a PID that has a row
///     second         | 61                        | all, of a PID that has none
///     third          | 1                         | samples, of a PID that has a row
///     fourth         | 1                         | samples, of a PID that has none
///
/// They are written in this order before the first copy, and cleared in the other order after the last one. 61 packets
/// are more than any table takes, and bound what a PID that is no table can do.
///
/// A PID that is counted instead gets a row of the O-PID MAP in front of its list, which leads to a TSO without an
/// output and is told by the new PID that it names without using it. Its row of the PID LUT names the filter, but
/// copies nothing.
namespace Osl::ZebRouting {

/// What a listener wants of a PID.
struct Copy
{
    bool whole = false;               ///< whole payload units, as long as tables are; or else their first packets
    std::optional<uint8_t> counter{}; ///< no copy: the TSO by which it is counted

    bool operator==(const Copy&) const = default;
};
using Copies = std::map<uint16_t, Copy>; ///< by PID

/// The tables with these copies of packets of a TSI, and with all else as it is. PIDs that go to the processor anyway
/// go there as before. `tables` have no listener's rows. Raises RoutingError when rows run short, and for a PID LUT
/// that is not in order: the FPGA might then find other rows of it than before.
Tables withCopies(const Tables& tables, uint8_t tsi, const Copies& copies);
/// The tables without what a listener has left.
Tables withoutCopies(const Tables& tables);
/// The way from one to another of these: filters that are new, the PID LUT in one switch, filters that are not needed
/// any more. Everything in between routes all packets to the same outputs. A plan cannot lead from some counters to
/// others.
Plan planCopies(const Tables& now, const Tables& target);

/// What there is room for: rows of the PID LUT, and TSOs to count by, no more than there are rows for.
std::size_t freePidRows(const Tables& tables);
std::vector<uint8_t> freeCounters(const Tables& tables);

/// The PIDs of a TSI that have a row of the PID LUT, and whether and through which filter it leads to the processor.
std::map<uint16_t, std::optional<uint8_t>> pidsWithRows(const Tables& tables, uint8_t tsi);

} // namespace Osl::ZebRouting
