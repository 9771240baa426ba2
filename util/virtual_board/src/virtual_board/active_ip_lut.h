#pragma once

#include <osl/userspace_drivers/drivers/zeb/ts/ipinentry.h>

#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace Osl::VirtualBoard {

/// An enabled row of the IP LUT.
struct IpLutRow
{
    uint32_t group; ///< IPv4 address as a number
    uint16_t port;
    uint8_t tsi;
    bool operator==(const IpLutRow&) const = default;
};

/// The bank of the IP LUT that is in use. Both banks are reached at one address, which shows the active one until
/// somebody fills the other there. This keeps a copy of the active one.
class ActiveIpLut
{
public:
    /// `ioBlock` are the words of the input/output block, which must outlive this. What they hold is active.
    explicit ActiveIpLut(volatile uint32_t* ioBlock);

    /// Takes the table over when the bank was switched since the last call. Returns whether the rows changed.
    bool followBank();

    /// Whether followBank() would take a table over.
    bool isSwitched() const;

    /// Whether the address shows another table than the active one: somebody is filling the other bank, or gave up.
    bool isBeingFilled() const { return readTable() != m_Table; }

    /// Once nobody fills the other bank any more: shows the active table again, if that is certain not to have been
    /// switched. Two switches in a row, which followBank() can miss, look like none: what is whole is taken for active
    /// unless only one process, `alone`, was there to switch; a table without a row even then, since who clears the
    /// table switches twice. Returns whether the rows changed.
    bool endFilling(bool alone);

    const std::vector<IpLutRow>& rows() const { return m_Rows; }
    /// What real hardware would choke on, "" when there is nothing.
    std::string fault() const { return faultOf(m_Table); }

private:
    using Table = std::array<uint32_t, Drivers::Zeb::IP_LUT.words()>;

    Table readTable() const;
    static std::string faultOf(const Table& table);
    static std::vector<IpLutRow> rowsOf(const Table& table);
    bool use(const Table& table);

    volatile uint32_t* m_Block;
    uint32_t m_Bank;
    Table m_Table;
    std::vector<IpLutRow> m_Rows;
};

} // namespace Osl::VirtualBoard
