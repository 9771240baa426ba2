#include <osl/cpputils/assertion.h>
#include <osl/userspace_drivers/drivers/zeb/ts/diag/fpga_diag.h>

#include <array>

namespace Osl::Drivers::Zeb {
namespace {

/// Bytes that are taken in one step.
constexpr std::size_t SLICES = 16;

/// What one byte makes of the CRC when as many bytes follow it in the step as the number of the table says.
consteval std::array<std::array<uint32_t, 256>, SLICES> crcTables()
{
    std::array<std::array<uint32_t, 256>, SLICES> tables{};
    for (uint32_t byte = 0; byte < 256; ++byte) {
        uint32_t crc = byte << 24;
        for (int bit = 0; bit < 8; ++bit)
            crc = crc << 1 ^ ((crc >> 31) != 0 ? 0x04C11DB7U : 0U);
        tables[0][byte] = crc;
    }
    for (std::size_t following = 1; following < SLICES; ++following) {
        for (uint32_t byte = 0; byte < 256; ++byte) {
            const uint32_t crc = tables[following - 1][byte];
            tables[following][byte] = crc << 8 ^ tables[0][crc >> 24];
        }
    }
    return tables;
}

} // namespace

uint32_t crc32Mpeg2(std::span<const uint8_t> bytes)
{
    static constexpr auto TABLES = crcTables();
    uint32_t crc = 0xFFFFFFFF;
    for (; bytes.size() >= SLICES; bytes = bytes.subspan(SLICES)) {
        uint32_t next = 0;
        for (std::size_t i = 0; i < SLICES; ++i) {
            const uint32_t carried = i < sizeof crc ? crc >> (24 - 8 * i) & 0xFF : 0;
            next ^= TABLES[SLICES - 1 - i][bytes[i] ^ carried];
        }
        crc = next;
    }
    for (const uint8_t byte : bytes)
        crc = crc << 8 ^ TABLES[0][crc >> 24 ^ byte];
    return crc;
}

std::vector<uint8_t> toBytes(std::span<const uint32_t> words)
{
    std::vector<uint8_t> bytes(words.size_bytes());
    uint8_t* at = bytes.data();
    for (const uint32_t word : words)
        for (uint32_t shift = 0; shift < 32; shift += 8)
            *at++ = static_cast<uint8_t>(word >> shift);
    return bytes;
}

std::vector<uint32_t> toWords(std::span<const uint8_t> bytes)
{
    OSL_ASSERT(bytes.size() % sizeof(uint32_t) == 0);
    std::vector<uint32_t> words(bytes.size() / sizeof(uint32_t));
    const uint8_t* at = bytes.data();
    for (uint32_t& word : words)
        for (uint32_t shift = 0; shift < 32; shift += 8)
            word |= uint32_t{*at++} << shift;
    return words;
}

} // namespace Osl::Drivers::Zeb
