#include <osl/userspace_drivers/drivers/drivererror.h>
#include <osl/userspace_drivers/drivers/zeb/scm/scmdriver.h>
#include <osl/userspace_drivers/drivers/zeb/ts/diag/table_readout.h>

#include <fmt/format.h>

#include <algorithm>

namespace Osl::Drivers::Zeb {
namespace {

constexpr const Misc::BitField& PID = SCM_PID_LUT.find("PID")->at;
constexpr const Misc::BitField& SCMIDX = SCM_PID_LUT.find("SCMIDX")->at;
constexpr const Misc::BitField& KEYIDX = SCM_PID_LUT.find("KEYIDX")->at;

/// Place of an entry in the LUT's order.
uint32_t keyOf(uint32_t scmIdx, uint32_t pid) { return scmIdx << PID.width | pid; }

uint32_t wordOf(const ScmPidLutEntry& entry)
{
    uint32_t word = 0;
    PID.put({&word, 1}, entry.pid);
    SCMIDX.put({&word, 1}, entry.scmIdx);
    KEYIDX.put({&word, 1}, entry.keyIdx);
    return word;
}

void check(bool inRange)
{
    if (!inRange)
        OSL_RAISE(CppUtil::InvalidArgumentError, "Invalid parameters.");
}

bool isInRange(uint32_t scmIdx, uint32_t pid) { return scmIdx <= SCMIDX.max() && pid < PID.max(); }

} // namespace

void ScmDriver::print(const RowSelection& selection, std::ostream& out)
{
    if (uint64_t{selection.offset} + selection.count > SCM_PID_LUT.rows)
        OSL_RAISE(CppUtil::OutOfRangeError,
                  fmt::format("Offset {} and entry count {} exceeds scrambler PID LUT size {}.", selection.offset,
                              selection.count, SCM_PID_LUT.rows));
    printTable(m_Memory, SCM_PID_LUT, selection, out);
}

void ScmDriver::insert(const ScmPidLutEntry& entry)
{
    check(isInRange(entry.scmIdx, entry.pid) && entry.keyIdx <= KEYIDX.max());
    BankedTable banks(m_Memory, SCM_PID_LUT);
    Rows rows = readActive(banks);
    // Also for an entry that would replace another: users rely on a full LUT refusing every write.
    if (rows.size() == SCM_PID_LUT.rows)
        OSL_RAISE(ZebDriverError, "SCM PID LUT is full - cannot write new entry");
    rows.insert_or_assign(keyOf(entry.scmIdx, entry.pid), wordOf(entry));
    replace(banks, rows);
}

void ScmDriver::remove(uint32_t scmIdx, uint32_t pid)
{
    BankedTable banks(m_Memory, SCM_PID_LUT);
    Rows rows = readActive(banks);
    if (isInRange(scmIdx, pid)) // no row can have another pair, whose key could be that of a row
        rows.erase(keyOf(scmIdx, pid));
    replace(banks, rows);
}

void ScmDriver::clear()
{
    BankedTable banks(m_Memory, SCM_PID_LUT);
    replace(banks, {});
    replace(banks, {});
}

ScmDriver::Rows ScmDriver::readActive(const BankedTable& banks)
{
    Rows rows;
    for (uint32_t row = 0; row < SCM_PID_LUT.rows; ++row) {
        const uint32_t word = m_Memory.read32(banks.activeBase() + row);
        if (SCM_PID_LUT.isUnused({&word, 1}))
            break;
        rows.insert_or_assign(keyOf(SCMIDX.get({&word, 1}), PID.get({&word, 1})), word);
    }
    return rows;
}

void ScmDriver::replace(BankedTable& banks, const Rows& rows)
{
    std::vector<uint32_t> words;
    for (const auto& [key, word] : rows)
        words.push_back(word);
    banks.fill(words);
    banks.switchBanks();
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
