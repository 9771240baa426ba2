#include <osl/userspace_drivers/drivers/zeb/ts/tablerows.h>

#include <fmt/format.h>

namespace Osl::Drivers::Zeb {

void checkRows(const TableLayout& table, const RowSelection& selection)
{
    if (selection.offset < table.firstRow)
        OSL_RAISE(CppUtil::InvalidArgumentError,
                  fmt::format("Offset value {} is not permitted in the ZEB {}, since this is a reserved value.",
                              selection.offset, table.name));
    if (uint64_t{selection.offset} + selection.count > table.rows)
        OSL_RAISE(CppUtil::InvalidArgumentError,
                  fmt::format("Offset ({}) and count ({}) exceeds the size ({}) of the ZEB {}.", selection.offset,
                              selection.count, table.rows, table.name));
}

uint32_t firstWord(IMemIf& memory, const TableLayout& table, const RowSelection& selection)
{
    uint32_t bank = 0;
    if (table.activeBase[0] != table.activeBase[1])
        bank = table.bankInUse(memory.read32(table.bankWord)) ^ (selection.inactive ? 1 : 0);
    return table.activeBase[bank] + selection.offset * table.wordsPerRow;
}

} // namespace Osl::Drivers::Zeb
