#include <osl/userspace_drivers/drivers/drivererror.h>
#include <osl/userspace_drivers/drivers/zeb/scm/scmdriver.h>

#include <fmt/format.h>

#include <algorithm>
#include <span>

namespace Osl::Drivers::Zeb {
namespace {

using Fields = ScmPidLutFields;
using Layout = ScmPidLutLayout;

/// Place of an entry in the LUT's order.
uint32_t keyOf(uint32_t scmIdx, uint32_t pid) { return scmIdx << Fields::PID.width | pid; }

void check(bool inRange)
{
    if (!inRange)
        OSL_RAISE(CppUtil::InvalidArgumentError, "Invalid parameters.");
}

bool isInRange(uint32_t scmIdx, uint32_t pid) { return scmIdx <= Fields::SCMIDX.max() && pid < Fields::PID.max(); }

} // namespace

ScmPidLutEntry::ScmPidLutEntry(uint32_t word)
    : pid(Fields::PID.get({&word, 1})),
      scmIdx(Fields::SCMIDX.get({&word, 1})),
      keyIdx(Fields::KEYIDX.get({&word, 1}))
{
}

uint32_t ScmPidLutEntry::word() const
{
    uint32_t word = 0;
    Fields::PID.put({&word, 1}, pid);
    Fields::SCMIDX.put({&word, 1}, scmIdx);
    Fields::KEYIDX.put({&word, 1}, keyIdx);
    return word;
}

std::vector<ScmDriver::Row> ScmDriver::readRows(Bank bank, uint32_t offset, uint32_t count)
{
    if (uint64_t{offset} + count > Layout::ROWS)
        OSL_RAISE(CppUtil::OutOfRangeError,
                  fmt::format("Offset {} and entry count {} exceeds scrambler PID LUT size {}.", offset, count,
                              Layout::ROWS));
    const uint32_t bankWord = m_Memory.read32(Layout::BANK_WORD);
    const uint32_t base = bank == Bank::ACTIVE ? Layout::active(bankWord) : Layout::inactive(bankWord);
    std::vector<Row> rows;
    rows.reserve(count);
    for (uint32_t position = offset; position < offset + count; ++position)
        rows.push_back({position, base + position, ScmPidLutEntry(m_Memory.read32(base + position))});
    return rows;
}

void ScmDriver::insert(const ScmPidLutEntry& entry)
{
    check(isInRange(entry.scmIdx, entry.pid) && entry.keyIdx <= Fields::KEYIDX.max());
    const uint32_t bankWord = m_Memory.read32(Layout::BANK_WORD);
    Entries entries = readActive(bankWord);
    // Also for an entry that would replace another: users rely on a full LUT refusing every write.
    if (entries.size() == Layout::ROWS)
        OSL_RAISE(ZebDriverError, "SCM PID LUT is full - cannot write new entry");
    entries.insert_or_assign(keyOf(entry.scmIdx, entry.pid), entry.word());
    replace(bankWord, entries);
}

void ScmDriver::remove(uint32_t scmIdx, uint32_t pid)
{
    const uint32_t bankWord = m_Memory.read32(Layout::BANK_WORD);
    Entries entries = readActive(bankWord);
    if (isInRange(scmIdx, pid)) // numbers out of range would give the key of another entry
        entries.erase(keyOf(scmIdx, pid));
    replace(bankWord, entries);
}

void ScmDriver::clear()
{
    const uint32_t bankWord = m_Memory.read32(Layout::BANK_WORD);
    replace(bankWord, {});
    replace(Layout::switched(bankWord), {});
}

ScmDriver::Entries ScmDriver::readActive(uint32_t bankWord)
{
    Entries entries;
    const uint32_t base = Layout::active(bankWord);
    for (uint32_t position = 0; position < Layout::ROWS; ++position) {
        const uint32_t word = m_Memory.read32(base + position);
        const ScmPidLutEntry entry(word);
        if (entry.isEmpty())
            break;
        entries.insert_or_assign(keyOf(entry.scmIdx, entry.pid), word);
    }
    return entries;
}

/// The switch comes last and is a single write: the FPGA sees the old entries or the new ones, never a mixture.
void ScmDriver::replace(uint32_t bankWord, const Entries& entries)
{
    std::vector<uint32_t> image(Layout::ROWS, Layout::EMPTY_ROW);
    std::transform(entries.begin(), entries.end(), image.begin(), [](const auto& row) { return row.second; });
    m_Memory.writeBlock32(Layout::inactive(bankWord), image);
    m_Memory.write32(Layout::BANK_WORD, Layout::switched(bankWord));
}

ScmKey ScmDriver::readKey(const ScmKeySlot& slot)
{
    ScmKey key{};
    const std::vector<uint32_t> words = m_Memory.readBlock32(slot.firstWord, key.size());
    std::copy(words.begin(), words.end(), key.begin());
    return key;
}

void ScmDriver::writeKey(const ScmKeySlot& slot, const ScmKey& key)
{
    m_Memory.writeBlock32(slot.firstWord, {key.begin(), key.end()});
}

} // namespace Osl::Drivers::Zeb
