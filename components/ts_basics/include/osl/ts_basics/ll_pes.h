#pragma once

#include <osl/ts_basics/ll_tspackets.h>

#include <cstddef>
#include <cstdint>

/// Time stamps in the header of a PES packet (ISO/IEC 13818-1, 2.4.3.6), read and written in place.
///
///     b[0..2]  00 00 01
///     b[3]     stream id; some ids have nothing of what follows
///     b[4..5]  length of the rest, 0 when not told
///     b[6]     '10' and flags
///     b[7]     which time stamps there are (2 bits), more flags
///     b[8]     length of the rest of the header
///     b[9..]   PTS, then DTS
///
/// A stamp is 33 bits of 90 kHz in five bytes: prefix (4 bits), bits 32..30, marker, bits 29..15, marker, bits 14..0,
/// marker.
namespace Osl::Ts::Ll {

inline constexpr std::size_t PES_HEADER_SIZE = 9; ///< bytes before the stamps
inline constexpr std::size_t STAMP_SIZE = 5;

/// Offset of the payload behind the header, of a PES packet that has stamps.
inline std::size_t pesPayloadOffset(const uint8_t* pes) { return PES_HEADER_SIZE + pes[8]; }

inline uint64_t readStamp(const uint8_t* b)
{
    return uint64_t{static_cast<uint8_t>(b[0] >> 1 & 7)} << 30 | uint64_t{b[1]} << 22 | uint64_t{b[2]} >> 1 << 15 |
           uint64_t{b[3]} << 7 | b[4] >> 1;
}

/// `value` is taken modulo TIME_STAMP_RANGE; the prefix stays.
inline void writeStamp(uint8_t* b, uint64_t value)
{
    b[0] = static_cast<uint8_t>((b[0] & 0xF0) | (value >> 30 & 7) << 1 | 1);
    b[1] = static_cast<uint8_t>(value >> 22);
    b[2] = static_cast<uint8_t>(value >> 15 << 1 | 1);
    b[3] = static_cast<uint8_t>(value >> 7);
    b[4] = static_cast<uint8_t>(value << 1 | 1);
}

/// The time stamps of the PES packet that starts in a TS packet.
struct PesStamps
{
    std::size_t count = 0;  ///< 0; 1: PTS, which is the DTS too; 2: PTS and DTS
    std::size_t offset = 0; ///< of the PES header in the TS packet
    bool cut = false;       ///< there are stamps, but not all of them in this TS packet; then `count` is 0

    std::size_t at(std::size_t stamp) const { return offset + PES_HEADER_SIZE + stamp * STAMP_SIZE; }
};

/// Of a packet that startsPayloadUnit() and is not scrambled.
PesStamps findStamps(const uint8_t* packet);

} // namespace Osl::Ts::Ll
