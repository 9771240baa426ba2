#pragma once

#include <osl/userspace_drivers/drivers/zeb/ts/tablelayout.h>
#include <osl/userspace_drivers/interfaces/imemif.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace Osl::Drivers::Zeb {

// The table image: the seven tables that make up the routing state (not the FILTER TABLE), then the CRC-32/MPEG-2 of
// their bytes. As a file it is the little-endian bytes of these words, without any head.
inline constexpr std::size_t TOT_WORDS = 14400; ///< words of the tables
inline constexpr std::size_t IMAGE_BYTES = (TOT_WORDS + 1) * sizeof(uint32_t);

/// The tables in the order in which the image holds them, which is also the order in which they are written back.
inline constexpr std::array IMAGE_SECTIONS{&PHYS_IN_MAP, &IP_LUT,       &TSI_MAP,   &PID_LUT,
                                           &O_PID_MAP,   &PHYS_OUT_MAP, &IP_OUT_MAP};

/// CRC of ISO/IEC 13818-1, annex A: polynomial 0x04C11DB7, all ones at the start, most significant bit first.
uint32_t crc32Mpeg2(std::span<const uint8_t> bytes);

/// Reads the image from the PID handling block's and the input/output block's memory; of the PID LUT the active bank.
std::vector<uint32_t> exportTables(IMemIf& pidMemory, IMemIf& ioMemory);

/// Raises InvalidArgumentError when length or CRC of an image file is wrong.
void checkImage(std::span<const uint8_t> bytes);

/// Words of an image as the bytes of a file.
std::vector<uint8_t> toBytes(std::span<const uint32_t> words);
/// The words again; their bytes must be complete.
std::vector<uint32_t> toWords(std::span<const uint8_t> bytes);

/// Checks an image file's bytes, then writes all its tables and makes them active. Raises InvalidArgumentError, nothing
/// written, when length or CRC is wrong. A device that fails half-way keeps what was written so far; the PID LUT and
/// the IP LUT switch banks only when they are complete.
void importTables(IMemIf& pidMemory, IMemIf& ioMemory, std::span<const uint8_t> bytes);

} // namespace Osl::Drivers::Zeb
