#pragma once

#include <osl/userspace_drivers/drivers/zeb/ts/tablerows.h>

#include <iosfwd>
#include <list>

namespace Osl::Drivers::Zeb {

/// Prints the selected rows of a table in its declared format, one line a row. The lines go on, and are flushed, in
/// pieces of 16 KiB, the last at the end: single ones would take as long as the read-out itself. Raises
/// InvalidArgumentError, before any output, for rows that the table does not have; errors of the device memory pass
/// through, after the lines that were printed before, and so does what `out` raises.
void printTable(IMemIf& memory, const TableLayout& table, const RowSelection& selection, std::ostream& out);

/// The selected rows in table order.
template <class Entry, class IsUnused>
std::list<Entry> getTable(IMemIf& memory, const RowSelection& selection, const IsUnused& isUnused)
{
    std::list<Entry> entries;
    visitRows(memory, Entry().table(), selection, isUnused,
              [&entries](uint32_t row, uint32_t, const std::vector<uint32_t>& words) {
                  entries.emplace_back().setFromWords(words);
                  entries.back().setPosition(row);
              });
    return entries;
}

} // namespace Osl::Drivers::Zeb
