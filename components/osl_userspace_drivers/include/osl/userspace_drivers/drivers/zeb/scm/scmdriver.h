#pragma once

#include <osl/userspace_drivers/drivers/zeb/scm/scmkey.h>
#include <osl/userspace_drivers/drivers/zeb/scm/scmlayout.h>
#include <osl/userspace_drivers/drivers/zeb/ts/bankedtable.h>
#include <osl/userspace_drivers/drivers/zeb/ts/tablerows.h>
#include <osl/userspace_drivers/interfaces/imemif.h>

#include <cstdint>
#include <iosfwd>
#include <map>

namespace Osl::Drivers::Zeb {

/// Which key scrambles a PID of a scrambler.
struct ScmPidLutEntry
{
    uint32_t pid;
    uint32_t scmIdx;
    uint32_t keyIdx;
};

/// The scrambler: its PID LUT, which the FPGA reads from one of two banks while the other is filled, and its common
/// keys. The LUT is packed and sorted by scrambler, then PID. Edits that raise leave the bank in use as it was.
/// Two processes that edit the same LUT must keep each other out.
class ScmDriver
{
public:
    /// `memory` must outlive the driver.
    explicit ScmDriver(IMemIf& memory) : m_Memory(memory) {}

    /// Prints rows as printTable() does, except that it raises OutOfRangeError when the LUT ends before.
    void print(const RowSelection& selection, std::ostream& out);

    /// Adds the entry, in place of one of the same scrambler and PID. Raises InvalidArgumentError when a field is out
    /// of range, ZebDriverError when the LUT is full, even if the entry would replace another.
    void insert(const ScmPidLutEntry& entry);

    /// Removes the entry of a scrambler and PID; no error when there is none, or can be none.
    void remove(uint32_t scmIdx, uint32_t pid);

    /// Empties both banks; the bank in use stays in use. A failure half-way leaves the entries in use either all there
    /// or all gone.
    void clear();

    ScmKey readKey(const ScmKeySlot& slot);
    void writeKey(const ScmKeySlot& slot, const ScmKey& key);

private:
    /// Words by scrambler and PID, in the order of the LUT. Whole words, since edits of one entry must not touch the
    /// bits without a name of the others.
    using Rows = std::map<uint32_t, uint32_t>;

    Rows readActive(const BankedTable& banks);
    static void replace(BankedTable& banks, const Rows& rows);

    IMemIf& m_Memory;
};

} // namespace Osl::Drivers::Zeb
