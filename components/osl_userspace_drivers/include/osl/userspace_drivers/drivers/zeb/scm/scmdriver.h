#pragma once

#include <osl/userspace_drivers/drivers/zeb/scm/scmkey.h>
#include <osl/userspace_drivers/drivers/zeb/scm/scmlayout.h>
#include <osl/userspace_drivers/interfaces/imemif.h>

#include <cstdint>
#include <map>
#include <vector>

namespace Osl::Drivers::Zeb {

/// Which key scrambles a PID of a scrambler.
struct ScmPidLutEntry
{
    uint32_t pid;
    uint32_t scmIdx;
    uint32_t keyIdx;

    explicit ScmPidLutEntry(uint32_t word);
    ScmPidLutEntry(uint32_t pidValue, uint32_t scmIdxValue, uint32_t keyIdxValue)
        : pid(pidValue),
          scmIdx(scmIdxValue),
          keyIdx(keyIdxValue)
    {
    }

    bool isEmpty() const { return pid == ScmPidLutFields::PID.max(); }
    uint32_t word() const;
};

/// The scrambler: its PID LUT, which the FPGA reads from one of two banks while the other is filled, and its common
/// keys. The LUT is packed and sorted by scrambler, then PID. Edits that raise leave the bank in use as it was.
/// Two processes that edit the same LUT must keep each other out.
class ScmDriver
{
public:
    enum class Bank { ACTIVE, INACTIVE };

    struct Row
    {
        uint32_t position;   ///< in the bank
        uint32_t wordOffset; ///< in the device
        ScmPidLutEntry entry;
    };

    /// `memory` must outlive the driver.
    explicit ScmDriver(IMemIf& memory) : m_Memory(memory) {}

    /// Rows `offset` to `offset` + `count` - 1, empty ones included. Raises OutOfRangeError when the LUT ends before.
    std::vector<Row> readRows(Bank bank, uint32_t offset, uint32_t count);

    /// Adds the entry, in place of one of the same scrambler and PID. Raises InvalidArgumentError when a field is out
    /// of range, ZebDriverError when the LUT is full, even if the entry would replace another.
    void insert(const ScmPidLutEntry& entry);

    /// Removes the entry of a scrambler and PID. No error when there is none, as for numbers that no entry can have.
    void remove(uint32_t scmIdx, uint32_t pid);

    /// Empties both banks; the bank in use stays in use. A failure half-way leaves the entries in use either all there
    /// or all gone.
    void clear();

    ScmKey readKey(const ScmKeySlot& slot);
    void writeKey(const ScmKeySlot& slot, const ScmKey& key);

private:
    /// Words by scrambler and PID, in the order of the LUT. Whole words, since edits of one entry must not touch the
    /// bits without a name of the others.
    using Entries = std::map<uint32_t, uint32_t>;

    Entries readActive(uint32_t bankWord);
    void replace(uint32_t bankWord, const Entries& entries);

    IMemIf& m_Memory;
};

} // namespace Osl::Drivers::Zeb
