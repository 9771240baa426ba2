#pragma once

#include <osl/userspace_drivers/drivers/zeb/ts/tablelayout.h>

#include <array>
#include <cstdint>

namespace Osl::VirtualBoard {

/// Makes `entry` the row at `firstWord` of a block's memory as it is at this moment.
template <class Entry>
void readRow(Entry& entry, const volatile uint32_t* block, uint32_t firstWord)
{
    std::array<uint32_t, Entry::TOT_WORDS> words{};
    for (std::size_t i = 0; i < words.size(); ++i)
        words[i] = block[firstWord + i];
    entry.setFromWords(words);
}

/// A row of a table that is reached at one address.
template <class Entry>
Entry rowOf(const volatile uint32_t* block, uint32_t row)
{
    Entry entry;
    readRow(entry, block, entry.table().rowOffset(row));
    return entry;
}

} // namespace Osl::VirtualBoard
