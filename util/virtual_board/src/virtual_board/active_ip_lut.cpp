#include "virtual_board/active_ip_lut.h"

#include <osl/userspace_drivers/drivers/zeb/ts/ipinentry.h>

#include <fmt/format.h>

#include <span>

namespace Osl::VirtualBoard {

using namespace Drivers::Zeb;

ActiveIpLut::ActiveIpLut(volatile uint32_t* ioBlock)
    : m_Block(ioBlock),
      m_Bank(m_Block[IP_LUT.bankWord] & TableLayout::BANK_BIT),
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
    uint64_t last = 0;
    bool ended = false;
    for (uint32_t row = 0; row < IP_LUT.rows; ++row) {
        const std::span<const uint32_t> words(&table[std::size_t{row} * IP_LUT.wordsPerRow], IP_LUT.wordsPerRow);
        if (IpInFields::ENABLED.get(words) == 0) {
            ended = true;
            continue;
        }
        const uint64_t key = uint64_t{IpInFields::IP.get(words)} << 16 | IpInFields::UDP_PORT.get(words);
        if (ended || (row != 0 && key < last))
            return fmt::format("IP LUT: row {} of the active bank is not in order", row);
        if (row != 0 && key == last)
            return fmt::format("IP LUT: row {} of the active bank has the same key as the row before it", row);
        last = key;
    }
    return "";
}

bool ActiveIpLut::use(const Table& table)
{
    m_Table = table;
    std::vector<IpLutRow> rows;
    for (uint32_t row = 0; row < IP_LUT.rows; ++row) {
        const std::span<const uint32_t> words(&table[std::size_t{row} * IP_LUT.wordsPerRow], IP_LUT.wordsPerRow);
        if (IpInFields::ENABLED.get(words) != 0)
            rows.push_back({.group = IpInFields::IP.get(words),
                            .port = static_cast<uint16_t>(IpInFields::UDP_PORT.get(words)),
                            .tsi = static_cast<uint8_t>(IpInFields::TSI_IDX.get(words))});
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
    for (uint32_t row = 0; row < IP_LUT.rows; ++row) {
        const uint32_t offset = IP_LUT.rowOffset(row);
        const std::array<uint32_t, IP_LUT.wordsPerRow> words{m_Block[offset], m_Block[offset + 1]};
        if (IpInFields::ENABLED.get(words) != 0)
            return false;
    }
    return true;
}

bool ActiveIpLut::followBank()
{
    const uint32_t bank = m_Block[IP_LUT.bankWord] & TableLayout::BANK_BIT;
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
