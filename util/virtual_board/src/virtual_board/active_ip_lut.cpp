#include "virtual_board/active_ip_lut.h"

#include "virtual_board/block_rows.h"

#include <fmt/format.h>

#include <optional>
#include <utility>

namespace Osl::VirtualBoard {

using namespace Drivers::Zeb;

ActiveIpLut::ActiveIpLut(volatile uint32_t* ioBlock)
    : m_Block(ioBlock),
      m_Bank(IP_LUT.bankInUse(m_Block[IP_LUT.bankWord])),
      m_Table{}
{
    use(readTable());
}

ActiveIpLut::Table ActiveIpLut::readTable() const
{
    Table table{};
    for (uint32_t word = 0; word < table.size(); ++word)
        table[word] = m_Block[IP_LUT.rowOffset(0) + word];
    return table;
}

/// The rows must be in order of address and port, without a key twice, and stuffing may only follow.
std::string ActiveIpLut::faultOf(const Table& table)
{
    std::optional<IpInEntry> last;
    bool ended = false;
    for (uint32_t row = 0; row < IP_LUT.rows; ++row) {
        IpInEntry entry;
        readRow(entry, table.data(), row * IP_LUT.wordsPerRow);
        if (entry.isUnused()) {
            ended = true;
            continue;
        }
        if (ended || (last && entry < *last))
            return fmt::format("IP LUT: row {} of the active bank is not in order", row);
        if (last && !(*last < entry))
            return fmt::format("IP LUT: row {} of the active bank has the same key as the row before it", row);
        last = entry;
    }
    return "";
}

std::vector<IpLutRow> ActiveIpLut::rowsOf(const Table& table)
{
    std::vector<IpLutRow> rows;
    IpInEntry entry;
    for (uint32_t row = 0; row < IP_LUT.rows; ++row) {
        readRow(entry, table.data(), row * IP_LUT.wordsPerRow);
        if (!entry.isUnused())
            rows.push_back(
                {.group = entry.getIpAddress().value(), .port = entry.getUdpPort(), .tsi = entry.getTSIidx()});
    }
    return rows;
}

bool ActiveIpLut::use(const Table& table)
{
    m_Table = table;
    std::vector<IpLutRow> rows = rowsOf(table);
    if (rows == m_Rows)
        return false;
    m_Rows = std::move(rows);
    return true;
}

bool ActiveIpLut::isSwitched() const { return IP_LUT.bankInUse(m_Block[IP_LUT.bankWord]) != m_Bank; }

bool ActiveIpLut::followBank()
{
    if (!isSwitched())
        return false;
    m_Bank = 1 - m_Bank;
    return use(readTable());
}

bool ActiveIpLut::endFilling(bool alone)
{
    if (followBank())
        return true;
    const Table shown = readTable();
    if (faultOf(shown).empty() && (!alone || rowsOf(shown).empty()))
        return use(shown);
    for (uint32_t word = 0; word < m_Table.size(); ++word)
        m_Block[IP_LUT.rowOffset(0) + word] = m_Table[word];
    return false;
}

} // namespace Osl::VirtualBoard
