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

bool ActiveIpLut::use(const Table& table)
{
    m_Table = table;
    std::vector<IpLutRow> rows;
    IpInEntry entry;
    for (uint32_t row = 0; row < IP_LUT.rows; ++row) {
        readRow(entry, table.data(), row * IP_LUT.wordsPerRow);
        if (!entry.isUnused())
            rows.push_back(
                {.group = entry.getIpAddress().value(), .port = entry.getUdpPort(), .tsi = entry.getTSIidx()});
    }
    if (rows == m_Rows)
        return false;
    m_Rows = std::move(rows);
    return true;
}

/// Whether the table lost all its rows: who clears it switches the bank twice in no time.
bool ActiveIpLut::isCleared() const
{
    if (m_Rows.empty())
        return false;
    for (uint32_t row = 0; row < IP_LUT.rows; ++row)
        if (!rowOf<IpInEntry>(m_Block, row).isUnused())
            return false;
    return true;
}

bool ActiveIpLut::followBank()
{
    const uint32_t bank = IP_LUT.bankInUse(m_Block[IP_LUT.bankWord]);
    if (bank == m_Bank && !isCleared())
        return false;
    m_Bank = bank;
    return use(readTable());
}

bool ActiveIpLut::settle()
{
    const Table table = readTable();
    return table != m_Table && faultOf(table).empty() && use(table);
}

} // namespace Osl::VirtualBoard
