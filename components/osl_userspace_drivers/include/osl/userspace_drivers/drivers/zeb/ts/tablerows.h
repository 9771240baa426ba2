#pragma once

#include <osl/userspace_drivers/drivers/zeb/ts/fieldentry.h>
#include <osl/userspace_drivers/interfaces/imemif.h>

#include <cstdint>
#include <utility>
#include <vector>

namespace Osl::Drivers::Zeb {

/// Writes a row of a table with one bank at its position, with one block write.
inline void writeRow(IMemIf& memory, const FieldEntry& entry)
{
    memory.writeBlock32(entry.table().rowOffset(entry.position()), entry.getWords());
}

/// Hands `write` each row of the table of `Entry` as a row that is not in use, but for the reserved ones.
template <class Entry, class Write>
void forEachUnusedRow(const Write& write)
{
    const TableLayout& table = Entry().table();
    for (uint32_t row = table.firstRow; row < table.rows; ++row)
        write(Entry(row));
}

/// Which rows of a table are wanted, and from which bank where there are two.
struct RowSelection
{
    uint32_t offset;
    uint32_t count;
    bool inactive;
    bool showAll; ///< rows that are not in use as well
};

/// Raises InvalidArgumentError for rows that the table does not have.
void checkRows(const TableLayout& table, const RowSelection& selection);
/// First word of the selected rows; reads the control word of a table whose banks lie apart.
uint32_t firstWord(IMemIf& memory, const TableLayout& table, const RowSelection& selection);

/// Calls `visit(row, word offset, words)`, which may take the words away, for each selected row for which
/// `isUnused(words)` is not true, or for each at all with `showAll`. Each is read with one block read. Raises
/// InvalidArgumentError, before any access, for rows that the table does not have.
template <class IsUnused, class Visit>
void visitRows(IMemIf& memory, const TableLayout& table, const RowSelection& selection, const IsUnused& isUnused,
               const Visit& visit)
{
    checkRows(table, selection);
    uint32_t offset = firstWord(memory, table, selection);
    for (uint32_t i = 0; i < selection.count; ++i, offset += table.wordsPerRow) {
        std::vector<uint32_t> words = memory.readBlock32(offset, table.wordsPerRow);
        if (selection.showAll || !isUnused(words))
            visit(selection.offset + i, offset, std::move(words));
    }
}

} // namespace Osl::Drivers::Zeb
