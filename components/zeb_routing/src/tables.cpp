#include <osl/userspace_drivers/drivers/zeb/ts/diag/fpga_diag.h>
#include <osl/userspace_drivers/drivers/zeb/ts/diag/iplut_diag.h>
#include <osl/userspace_drivers/drivers/zeb/ts/diag/pidlut_diag.h>
#include <osl/userspace_drivers/drivers/zeb/ts/fieldentry.h>
#include <osl/userspace_drivers/drivers/zeb/ts/tablelayout.h>
#include <osl/zeb_routing/tables.h>

#include <algorithm>
#include <utility>

namespace Osl::ZebRouting {

namespace Zeb = Drivers::Zeb;
using Zeb::TableLayout;

namespace {

/// Nobody switches a table so often in a row, unless something has gone wrong.
constexpr int MAX_READS = 100;

std::size_t firstWord(const TableLayout& table)
{
    std::size_t first = 0;
    for (const TableLayout* section : Zeb::IMAGE_SECTIONS) {
        if (section == &table)
            return first;
        first += section->words();
    }
    return first; // the FILTER TABLE, behind what is in an image
}

/// Of all tables, those of an image first.
const std::vector<uint32_t>& unusedWords()
{
    static const std::vector<uint32_t> UNUSED = [] {
        std::vector<uint32_t> words(Zeb::TOT_WORDS + Zeb::FILTER_TABLE.words());
        for (const TableLayout* table : Zeb::ROUTING_TABLES) {
            const std::vector<uint32_t> row = Zeb::FieldEntry(*table).getWords();
            auto to = words.begin() + static_cast<std::ptrdiff_t>(firstWord(*table));
            for (uint32_t i = 0; i < table->rows; ++i)
                to = std::copy(row.begin(), row.end(), to);
        }
        return words;
    }();
    return UNUSED;
}

std::pair<bool, bool> activeBanks(Drivers::IMemIf& pidMemory, Drivers::IMemIf& ioMemory)
{
    return {Zeb::getActivePidLutBank(pidMemory), Zeb::getActiveIpLutBank(ioMemory)};
}

} // namespace

Tables::Tables() : m_Words(unusedWords()) {}

Tables::Tables(std::vector<uint32_t> words, bool hasFilters) : m_Words(std::move(words)), m_HasFilters(hasFilters)
{
    m_Words.resize(Zeb::TOT_WORDS + Zeb::FILTER_TABLE.words());
}

Tables Tables::fromImage(std::span<const uint8_t> bytes)
{
    Zeb::checkImage(bytes);
    return {Zeb::toWords(bytes.first(Zeb::TOT_WORDS * sizeof(uint32_t))), false};
}

Tables Tables::read(Drivers::IMemIf& pidMemory, Drivers::IMemIf& ioMemory)
{
    for (int reads = 0; reads < MAX_READS; ++reads) {
        const auto banks = activeBanks(pidMemory, ioMemory);
        std::vector<uint32_t> words = Zeb::exportTables(pidMemory, ioMemory);
        const std::vector<uint32_t> filters =
            pidMemory.readBlock32(Zeb::FILTER_TABLE.rowOffset(0), Zeb::FILTER_TABLE.words());
        if (activeBanks(pidMemory, ioMemory) != banks)
            continue;
        std::copy(filters.begin(), filters.end(), words.insert(words.end() - 1, filters.size(), 0));
        return {std::move(words), true};
    }
    OSL_RAISE(RoutingError, "the PID LUT or the IP LUT was switched each time while the tables were read; try again "
                            "when nobody edits them without a pause");
}

std::vector<uint8_t> Tables::toImage() const
{
    std::vector<uint8_t> bytes = Zeb::toBytes(std::span(m_Words).first(Zeb::TOT_WORDS));
    const std::vector<uint8_t> checkSum = Zeb::toBytes(std::array{Zeb::crc32Mpeg2(bytes)});
    bytes.insert(bytes.end(), checkSum.begin(), checkSum.end());
    return bytes;
}

std::span<const uint32_t> Tables::words(const Layout& table) const
{
    return std::span(m_Words).subspan(firstWord(table), table.words());
}

std::span<const uint32_t> Tables::row(const Layout& table, uint32_t row) const
{
    return words(table).subspan(std::size_t{row} * table.wordsPerRow, table.wordsPerRow);
}

void Tables::setRow(const Layout& table, uint32_t row, std::span<const uint32_t> words)
{
    std::copy_n(words.begin(), table.wordsPerRow,
                m_Words.begin() + static_cast<std::ptrdiff_t>(firstWord(table) + row * table.wordsPerRow));
}

bool Tables::operator==(const Tables& other) const
{
    const std::size_t known = m_HasFilters && other.m_HasFilters ? m_Words.size() : Zeb::TOT_WORDS;
    return std::equal(m_Words.begin(), m_Words.begin() + static_cast<std::ptrdiff_t>(known), other.m_Words.begin());
}

} // namespace Osl::ZebRouting
