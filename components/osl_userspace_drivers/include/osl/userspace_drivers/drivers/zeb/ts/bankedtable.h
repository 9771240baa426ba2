#pragma once

#include <osl/userspace_drivers/drivers/zeb/ts/tabledecl.h>
#include <osl/userspace_drivers/interfaces/imemif.h>

#include <cstdint>
#include <iterator>
#include <span>
#include <vector>

namespace Osl::Drivers::Zeb {

/// A table with two banks, of which the FPGA uses one while the other is filled. Whatever raises before the end of
/// switchBanks(), the FPGA goes on with the bank in use, whole. One thread and one process at a time: two that fill the
/// idle bank at once mix it.
class BankedTable
{
public:
    /// Whether a bank is written with a block write for each row, or with a single one.
    enum class Writes { BY_ROW, AT_ONCE };

    /// Reads which bank is in use. `memory` and `table` must outlive this.
    BankedTable(IMemIf& memory, const TableLayout& table);

    /// First word of the bank in use.
    uint32_t activeBase() const { return m_Table.active(m_Control); }
    /// First word of the other one.
    uint32_t idleBase() const { return m_Table.spare(m_Control); }

    /// Writes every row of the idle bank: `rows`, the words of whole rows, then rows that are not in use. There must
    /// not be more rows than the table has.
    void fill(std::span<const uint32_t> rows, Writes writes = Writes::BY_ROW);
    /// Reads the idle bank back and answers whether it holds what fill(rows) writes. Only for a table whose idle bank
    /// is readable.
    bool idleHolds(std::span<const uint32_t> rows);
    /// Makes the idle bank the one in use with the last write; from then on the other bank is the idle one.
    void switchBanks();

private:
    std::vector<uint32_t> wholeBank(std::span<const uint32_t> rows) const;
    void barrier() const;

    IMemIf& m_Memory;
    const TableLayout& m_Table;
    uint32_t m_Control;
};

/// The words of `entries` one after the other, as BankedTable takes them.
template <class Entries>
std::vector<uint32_t> wordsOf(const Entries& entries)
{
    std::vector<uint32_t> words;
    for (const auto& entry : entries) {
        const auto& row = entry.getWords();
        if (words.empty())
            words.reserve(std::size(entries) * row.size());
        words.insert(words.end(), row.begin(), row.end());
    }
    return words;
}

} // namespace Osl::Drivers::Zeb
