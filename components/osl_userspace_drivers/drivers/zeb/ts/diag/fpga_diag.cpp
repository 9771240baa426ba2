#include <osl/cpputils/assertion.h>
#include <osl/userspace_drivers/drivers/zeb/ts/bankedtable.h>
#include <osl/userspace_drivers/drivers/zeb/ts/diag/fpga_diag.h>
#include <osl/userspace_drivers/drivers/zeb/ts/tablelayout.h>

#include <array>
#include <iterator>
#include <utility>

namespace Osl::Drivers::Zeb {
namespace {

consteval std::size_t sectionWords()
{
    std::size_t words = 0;
    for (const TableLayout* table : IMAGE_SECTIONS)
        words += table->words();
    return words;
}
static_assert(sectionWords() == TOT_WORDS);

} // namespace

std::vector<uint32_t> exportTables(IMemIf& pidMemory, IMemIf& ioMemory)
{
    std::vector<uint32_t> ret;
    ret.reserve(TOT_WORDS + 1);
    for (const TableLayout* table : IMAGE_SECTIONS) {
        IMemIf& memory = table->block == TableBlock::PID ? pidMemory : ioMemory;
        const uint32_t base = table->hasBanks() ? BankedTable(memory, *table).activeBase() : table->rowOffset(0);
        const std::vector<uint32_t> words = memory.readBlock32(base, table->words());
        ret.insert(ret.end(), words.begin(), words.end());
    }
    OSL_ASSERT(ret.size() == TOT_WORDS);
    ret.push_back(crc32Mpeg2(toBytes(ret)));
    return ret;
}

void checkImage(std::span<const uint8_t> bytes)
{
    if (bytes.size() != IMAGE_BYTES)
        OSL_RAISE(CppUtil::InvalidArgumentError, "Invalid data (incorrect length) given to import tables");
    const auto tables = bytes.first(TOT_WORDS * sizeof(uint32_t));
    if (crc32Mpeg2(tables) != toWords(bytes.subspan(tables.size())).front())
        OSL_RAISE(CppUtil::InvalidArgumentError, "Invalid data (incorrect CRC) given to import tables");
}

void importTables(IMemIf& pidMemory, IMemIf& ioMemory, std::span<const uint8_t> bytes)
{
    checkImage(bytes);
    const std::vector<uint32_t> data = toWords(bytes);
    auto data_it = data.begin();
    for (const TableLayout* table : IMAGE_SECTIONS) {
        IMemIf& memory = table->block == TableBlock::PID ? pidMemory : ioMemory;
        const auto section = std::exchange(data_it, data_it + table->words());
        if (table->hasBanks()) {
            BankedTable banks(memory, *table);
            banks.fill({section, data_it});
            banks.switchBanks();
        } else {
            memory.writeBlock32(table->rowOffset(0), {section, data_it});
        }
    }
    OSL_ASSERT(std::distance(data_it, data.end()) == 1); // the CRC
}

} // namespace Osl::Drivers::Zeb
