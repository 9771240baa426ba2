#pragma once

#include <osl/userspace_drivers/drivers/zeb/ts/pidlutentry.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace Osl::Drivers::Zeb {

/// A PID LUT in the order in which the FPGA needs it, by TSIIDX, then by PID, with one row for each such pair. Rows are
/// kept as the words of the FPGA: every edit of the table carries all of them from bank to bank, and changes one.
class PidLutImage
{
public:
    using Row = std::array<uint32_t, PidLutEntry::TOT_WORDS>;

    /// Adds a row, unless there is one with its (TSIIDX, PID) already. Takes constant time in ascending order.
    void insert(const PidLutEntry& entry);
    /// Adds a row, or replaces the one with its (TSIIDX, PID).
    void insertOrAssign(const PidLutEntry& entry);
    /// Removes a row, if it is there.
    void erase(uint32_t tsiIdx, uint32_t pid);
    /// Removes all rows of a TSIIDX.
    void eraseTsi(uint32_t tsiIdx);

    std::size_t size() const { return m_Rows.size(); }
    auto begin() const { return m_Rows.begin(); }
    auto end() const { return m_Rows.end(); }

private:
    using Rows = std::vector<Row>;

    Rows::iterator lowerBound(uint32_t key);
    void eraseKeys(uint32_t first, uint32_t end);

    Rows m_Rows; ///< with ascending keys
};

} // namespace Osl::Drivers::Zeb
