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

/// The bank of the IP LUT that is in use. Both banks are reached at one address, so what the memory shows is the bank
/// that is being filled; with the bank's switch it becomes the active one, of which this keeps a copy.
class ActiveIpLut
{
public:
    /// `ioBlock` are the words of the input/output block, which must outlive this. What they hold is active.
    explicit ActiveIpLut(volatile uint32_t* ioBlock);

    /// Takes the table over when the bank was switched since the last call, or the table cleared. Returns whether the
    /// rows changed.
    bool followBank();

    /// Makes up for two switches that followBank() could not tell from none: to be called when the table
    /// has not been touched for a while. One that is whole is taken over then. Returns whether the rows changed.
    bool settle();

    const std::vector<IpLutRow>& rows() const { return m_Rows; }
    /// What real hardware would choke on, "" when there is nothing.
    std::string fault() const { return faultOf(m_Table); }

private:
    using Table = std::array<uint32_t, Drivers::Zeb::IP_LUT.words()>;

    Table readTable() const;
    bool isCleared() const;
    static std::string faultOf(const Table& table);
    bool use(const Table& table);

    volatile uint32_t* m_Block;
    uint32_t m_Bank;
    Table m_Table;
    std::vector<IpLutRow> m_Rows;
};

} // namespace Osl::VirtualBoard
