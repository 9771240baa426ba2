#include <osl/cpputils/assertion.h>
#include <osl/userspace_drivers/drivers/zeb/ts/bankedtable.h>
#include <osl/userspace_drivers/drivers/zeb/ts/fieldentry.h>

#include <algorithm>
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

void BankedTable::fill(std::span<const uint32_t> rows, Writes writes)
{
    const std::vector<uint32_t> words = wholeBank(rows);
    const uint32_t step = writes == Writes::AT_ONCE ? m_Table.words() : m_Table.wordsPerRow;
    std::vector<uint32_t> block(step);
    for (uint32_t at = 0; at < m_Table.words(); at += step) {
        std::copy_n(words.begin() + at, step, block.begin());
        m_Memory.writeBlock32(idleBase() + at, block);
        barrier();
    }
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
