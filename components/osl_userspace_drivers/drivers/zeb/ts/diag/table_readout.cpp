#include "table_readout.h"

#include <osl/userspace_drivers/drivers/zeb/ts/tablebank.h>

namespace Osl::Drivers::Zeb {

void checkRows(const TableLayout& table, const RowSelection& selection)
{
    if (uint64_t{selection.offset} + selection.count > table.rows)
        OSL_RAISE(CppUtil::InvalidArgumentError,
                  fmt::format("Offset ({}) and count ({}) exceeds the size ({}) of the ZEB {}.", selection.offset,
                              selection.count, table.rows, table.name));
}

uint32_t firstWord(IMemIf& memory, const TableLayout& table, const RowSelection& selection)
{
    uint32_t base = table.activeBase[0];
    if (table.activeBase[0] != table.activeBase[1])
        base = table.activeBase[activeBank(memory, table) != selection.inactive ? 1 : 0];
    return base + selection.offset * table.wordsPerRow;
}

} // namespace Osl::Drivers::Zeb
