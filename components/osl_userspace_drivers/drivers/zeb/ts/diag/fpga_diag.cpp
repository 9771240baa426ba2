#include <osl/cpputils/assertion.h>
#include <osl/userspace_drivers/drivers/zeb/ts/diag/fpga_diag.h>
#include <osl/userspace_drivers/drivers/zeb/ts/tablebank.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <iterator>

namespace Osl::Drivers::Zeb {
namespace {

/// The tables in the order in which the image holds them, which is also the order in which they are written back.
constexpr std::array SECTIONS{&PHYS_IN_MAP, &IP_LUT, &TSI_MAP, &PID_LUT, &O_PID_MAP, &PHYS_OUT_MAP, &IP_OUT_MAP};

consteval std::size_t sectionWords()
{
    std::size_t words = 0;
    for (const TableLayout* table : SECTIONS)
        words += table->words();
    return words;
}
static_assert(sectionWords() == TOT_WORDS);

consteval std::array<uint32_t, 256> crcTable()
{
    std::array<uint32_t, 256> table{};
    for (uint32_t i = 0; i < table.size(); ++i) {
        uint32_t crc = i << 24;
        for (int bit = 0; bit < 8; ++bit)
            crc = crc << 1 ^ ((crc >> 31) != 0 ? 0x04C11DB7U : 0U);
        table[i] = crc;
    }
    return table;
}

/// The control word of a table with two banks; 0 for the others, which have nothing to choose.
uint32_t bankControl(IMemIf& memory, const TableLayout& table)
{
    return table.bankWord != NO_BANK_WORD ? memory.read32(table.bankWord) : 0;
}

std::vector<uint32_t> toWords(std::span<const uint8_t> bytes)
{
    std::vector<uint32_t> words(bytes.size() / sizeof(uint32_t));
    for (std::size_t i = 0; i < bytes.size(); ++i)
        words[i / 4] |= uint32_t{bytes[i]} << i % 4 * 8;
    return words;
}

} // namespace

uint32_t crc32Mpeg2(std::span<const uint8_t> bytes)
{
    static constexpr std::array<uint32_t, 256> TABLE = crcTable();
    uint32_t crc = 0xFFFFFFFF;
    for (const uint8_t byte : bytes)
        crc = crc << 8 ^ TABLE[crc >> 24 ^ byte];
    return crc;
}

std::vector<uint8_t> toBytes(std::span<const uint32_t> words)
{
    std::vector<uint8_t> bytes(words.size_bytes());
    for (std::size_t i = 0; i < bytes.size(); ++i)
        bytes[i] = static_cast<uint8_t>(words[i / 4] >> i % 4 * 8);
    return bytes;
}

std::vector<uint32_t> exportTables(IMemIf& pidMemory, IMemIf& ioMemory)
{
    std::vector<uint32_t> ret;
    ret.reserve(TOT_WORDS + 1);
    for (const TableLayout* table : SECTIONS) {
        IMemIf& memory = table->block == TableBlock::PID ? pidMemory : ioMemory;
        const uint32_t base = table->active(bankControl(memory, *table));
        const std::vector<uint32_t> words = memory.readBlock32(base, table->words());
        ret.insert(ret.end(), words.begin(), words.end());
    }
    OSL_ASSERT(ret.size() == TOT_WORDS);
    ret.push_back(crc32Mpeg2(toBytes(ret)));
    return ret;
}

void importTables(IMemIf& pidMemory, IMemIf& ioMemory, std::span<const uint8_t> bytes)
{
    if (bytes.size() != IMAGE_BYTES)
        OSL_RAISE(CppUtil::InvalidArgumentError, "Invalid data (incorrect length) given to import tables");
    const std::vector<uint32_t> data = toWords(bytes);
    if (crc32Mpeg2(bytes.first(TOT_WORDS * sizeof(uint32_t))) != data.back())
        OSL_RAISE(CppUtil::InvalidArgumentError, "Invalid data (incorrect CRC) given to import tables");

    auto data_it = data.begin();
    for (const TableLayout* table : SECTIONS) {
        IMemIf& memory = table->block == TableBlock::PID ? pidMemory : ioMemory;
        const uint32_t base = table->spare(bankControl(memory, *table));
        const auto end = std::next(data_it, table->words());
        memory.writeBlock32(base, {data_it, end});
        data_it = end;
        if (table->bankWord != NO_BANK_WORD) {
            // The FPGA must see the whole table before it is told to use it.
            std::atomic_thread_fence(std::memory_order_seq_cst);
            switchBank(memory, *table);
        }
    }
    OSL_ASSERT(std::distance(data_it, data.end()) == 1);
}

} // namespace Osl::Drivers::Zeb
