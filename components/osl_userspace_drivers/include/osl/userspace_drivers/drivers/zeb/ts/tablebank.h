#pragma once

#include <osl/userspace_drivers/drivers/zeb/ts/tablelayout.h>
#include <osl/userspace_drivers/interfaces/imemif.h>

namespace Osl::Drivers::Zeb {

/// The bank bit of a table with two banks, as the FPGA now uses it.
inline bool activeBank(IMemIf& memory, const TableLayout& table)
{
    return (memory.read32(table.bankWord) & TableLayout::BANK_BIT) != 0;
}

/// Writes every row of the bank that is not active: `wordsOf` each of `elements` first, in their order, then
/// stuffing. Each row goes through `writeRow(offset, words)`. There must not be more elements than rows. Whatever
/// raises on the way, the FPGA goes on with the active bank.
template <class Entry, class Elements, class WordsOf, class WriteRow>
void fillSpareBank(IMemIf& memory, const TableLayout& table, const Elements& elements, const WordsOf& wordsOf,
                   const WriteRow& writeRow)
{
    uint32_t offset = table.spare(memory.read32(table.bankWord));
    const uint32_t end = offset + table.words();
    for (const auto& element : elements) {
        writeRow(offset, wordsOf(element));
        offset += table.wordsPerRow;
    }
    const Entry stuffing;
    for (; offset < end; offset += table.wordsPerRow)
        writeRow(offset, stuffing.getWords());
}

/// Makes the other bank the active one; the control word's other bits stay as they are.
inline void switchBank(IMemIf& memory, const TableLayout& table)
{
    memory.write32(table.bankWord, memory.read32(table.bankWord) ^ TableLayout::BANK_BIT);
}

} // namespace Osl::Drivers::Zeb
