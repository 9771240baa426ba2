#pragma once

#include <osl/userspace_drivers/drivers/zeb/ts/tabledecl.h>
#include <osl/userspace_drivers/interfaces/imemif.h>

#include <cstdint>
#include <functional>
#include <span>
#include <vector>

namespace Osl::Drivers::Zeb {

/// A table with two banks, of which the FPGA uses one while the other is filled. Whatever raises before the end of
/// switchBanks(), the FPGA goes on with the bank in use, whole. One thread and one process at a time: two that fill the
/// idle bank at once mix it.
class BankedTable
{
public:
    /// Reads which bank is in use. `memory` and `table` must outlive this.
    BankedTable(IMemIf& memory, const TableLayout& table);

    /// First word of the bank in use.
    uint32_t activeBase() const { return m_Table.active(m_Control); }
    /// First word of the other one.
    uint32_t idleBase() const { return m_Table.spare(m_Control); }

    /// Writes every row of the idle bank with a single block write: `rows`, the words of whole rows, then rows that are
    /// not in use. There must not be more rows than the table has.
    void fill(std::span<const uint32_t> rows);
    /// The same with a block write for each row; `wordsOf`, called with each of `rows`, gives its words.
    template <class Rows, class WordsOf>
    void fillByRow(const Rows& rows, const WordsOf& wordsOf)
    {
        uint32_t row = 0;
        for (const auto& entry : rows)
            writeIdleRow(row++, std::invoke(wordsOf, entry));
        leaveUnused(row);
    }
    /// Reads the idle bank back and answers whether it holds what fill(rows) writes. Only for a table whose idle bank
    /// is readable.
    bool idleHolds(std::span<const uint32_t> rows);
    /// Makes the idle bank the one in use with the last write; from then on the other bank is the idle one.
    void switchBanks();

private:
    void writeIdleRow(uint32_t row, const std::vector<uint32_t>& words);
    /// Writes the rows from this one on as not in use.
    void leaveUnused(uint32_t row);
    std::vector<uint32_t> wholeBank(std::span<const uint32_t> rows) const;
    void barrier() const;

    IMemIf& m_Memory;
    const TableLayout& m_Table;
    uint32_t m_Control;
};

} // namespace Osl::Drivers::Zeb
