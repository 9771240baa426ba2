#include <osl/cpputils/assertion.h>
#include <osl/userspace_drivers/drivers/zeb/ts/bankedtable.h>
#include <osl/userspace_drivers/drivers/zeb/ts/fieldentry.h>

#include <atomic>

namespace Osl::Drivers::Zeb {

BankedTable::BankedTable(IMemIf& memory, const TableLayout& table)
    : m_Memory(memory),
      m_Table(table),
      m_Control(memory.read32(table.bankWord))
{
}

std::vector<uint32_t> BankedTable::wholeBank(std::span<const uint32_t> rows) const
{
    OSL_ASSERT(rows.size() <= m_Table.words() && rows.size() % m_Table.wordsPerRow == 0);
    const std::vector<uint32_t> unused = FieldEntry(m_Table).getWords();
    std::vector<uint32_t> words;
    words.reserve(m_Table.words());
    words.assign(rows.begin(), rows.end());
    while (words.size() < m_Table.words())
        words.insert(words.end(), unused.begin(), unused.end());
    return words;
}

void BankedTable::fill(std::span<const uint32_t> rows)
{
    m_Memory.writeBlock32(idleBase(), wholeBank(rows));
    barrier();
}

void BankedTable::writeIdleRow(uint32_t row, const std::vector<uint32_t>& words)
{
    OSL_ASSERT(row < m_Table.rows && words.size() == m_Table.wordsPerRow);
    m_Memory.writeBlock32(idleBase() + row * m_Table.wordsPerRow, words);
    barrier();
}

void BankedTable::leaveUnused(uint32_t row)
{
    const FieldEntry unused(m_Table);
    for (; row < m_Table.rows; ++row)
        writeIdleRow(row, unused.getWords());
}

bool BankedTable::idleHolds(std::span<const uint32_t> rows)
{
    OSL_ASSERT(m_Table.idleIsReadable);
    return m_Memory.readBlock32(idleBase(), m_Table.words()) == wholeBank(rows);
}

void BankedTable::switchBanks()
{
    // The bits beside the bank's may have changed while the bank was filled.
    m_Control = m_Table.bankSelect == BankSelect::BIT ? m_Memory.read32(m_Table.bankWord) ^ TableLayout::BANK_BIT
                                                      : 1 - m_Table.bankInUse(m_Control);
    m_Memory.write32(m_Table.bankWord, m_Control);
    barrier();
}

void BankedTable::barrier() const
{
    if (m_Table.needsBarriers)
        std::atomic_thread_fence(std::memory_order_seq_cst);
}

} // namespace Osl::Drivers::Zeb
