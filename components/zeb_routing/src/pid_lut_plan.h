#pragma once

#include "encode.h"
#include "list_plan.h"

#include <map>
#include <string>

namespace Osl::ZebRouting {

/// Rows of the PID LUT by their packets, in the order in which the FPGA looks for them.
using PidLutRows = std::map<Selector, RowCopy>;

/// The rows that the PID LUT has on the way to a wanted routing.
struct PidLutPlan
{
    /// `facts` are those of `present`; `lists` are planned for the same.
    PidLutPlan(const Tables& present, const Routing& facts, const Routing& wanted, const ListPlan& lists);

    PidLutRows wanted;
    /// The same, with rows that have to stay until the TSI MAP has changed: without its own row a packet would follow
    /// the old rest of its TSI.
    PidLutRows meanwhile;
};

/// What becomes of the table when it has these rows and no others.
struct PidLutChange
{
    /// Raises RoutingError when there are more rows than the table has; `occasion` is what its text says behind it.
    PidLutChange(const Tables& now, const PidLutRows& rows, const char* occasion);

    std::size_t rows = 0;  ///< that differ, wherever they are
    bool isNeeded = false; ///< whether anything differs, the order included
    Tables next;           ///< whose PID LUT has the rows
};

} // namespace Osl::ZebRouting
