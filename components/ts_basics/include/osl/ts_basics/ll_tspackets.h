#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>

/// Fields of an MPEG transport-stream packet (ISO/IEC 13818-1), read and written in place over its 188 raw bytes.
///
///     b[0]     0x47
///     b[1..2]  transport error (1 bit), payload unit start (1), priority (1), PID (13)
///     b[3]     scrambling control (2), adaptation field present (1), payload present (1), continuity counter (4)
///     b[4]     adaptation field length, bytes behind this one; only when the field is present
///     b[5]     its flags: discontinuity 0x80, PCR 0x10
///     b[6..11] PCR base (33 bits of 90 kHz), 6 reserved bits, PCR extension (9 bits, 0..299 of 27 MHz)
namespace Osl::Ts {

inline constexpr std::size_t TS_SIZE = 188; ///< bytes
inline constexpr uint8_t SYNC_BYTE = 0x47;
inline constexpr uint16_t NULL_PID = 8191;
inline constexpr uint32_t PCR_TICKS_PER_SECOND = 27'000'000;
inline constexpr uint32_t PCR_TICKS_PER_BASE = 300;                          ///< 27 MHz over 90 kHz
inline constexpr uint64_t TIME_STAMP_RANGE = uint64_t{1} << 33;              ///< PCR base, PTS and DTS run modulo this
inline constexpr uint64_t PCR_RANGE = TIME_STAMP_RANGE * PCR_TICKS_PER_BASE; ///< a PCR in ticks runs modulo this
inline constexpr uint8_t ADAPTATION_FIELD_BIT = 0x20;
inline constexpr uint8_t PAYLOAD_BIT = 0x10;

/// Free functions over the start of a packet; none checks the sync byte.
namespace Ll {

inline bool hasSync(const uint8_t* b) { return b[0] == SYNC_BYTE; }
inline bool hasTransportError(const uint8_t* b) { return (b[1] & 0x80) != 0; }
inline bool startsPayloadUnit(const uint8_t* b) { return (b[1] & 0x40) != 0; }
inline uint16_t pid(const uint8_t* b) { return static_cast<uint16_t>((b[1] & 0x1F) << 8 | b[2]); }
inline uint8_t scramblingControl(const uint8_t* b) { return static_cast<uint8_t>(b[3] >> 6); }
inline bool hasAdaptationField(const uint8_t* b) { return (b[3] & ADAPTATION_FIELD_BIT) != 0; }
inline bool hasPayload(const uint8_t* b) { return (b[3] & PAYLOAD_BIT) != 0; }
inline uint8_t continuityCounter(const uint8_t* b) { return b[3] & 0x0F; }

/// Whether there is an adaptation field long enough to have flags.
inline bool hasAdaptationFlags(const uint8_t* b) { return hasAdaptationField(b) && b[4] != 0; }
inline bool hasDiscontinuity(const uint8_t* b) { return hasAdaptationFlags(b) && (b[5] & 0x80) != 0; }
inline bool hasPcr(const uint8_t* b) { return hasAdaptationFlags(b) && (b[5] & 0x10) != 0; }

/// Offset of the payload; TS_SIZE when there is none.
inline std::size_t payloadOffset(const uint8_t* b)
{
    if (!hasPayload(b))
        return TS_SIZE;
    return hasAdaptationField(b) ? std::min<std::size_t>(TS_SIZE, std::size_t{5} + b[4]) : 4;
}

/// 33 bits, of a packet that hasPcr().
inline uint64_t pcrBase(const uint8_t* b)
{
    return uint64_t{b[6]} << 25 | uint64_t{b[7]} << 17 | uint64_t{b[8]} << 9 | uint64_t{b[9]} << 1 | b[10] >> 7;
}
/// 9 bits, of a packet that hasPcr().
inline uint16_t pcrExtension(const uint8_t* b) { return static_cast<uint16_t>((b[10] & 1) << 8 | b[11]); }
/// In 27 MHz ticks, of a packet that hasPcr().
inline uint64_t pcr(const uint8_t* b) { return pcrBase(b) * PCR_TICKS_PER_BASE + pcrExtension(b); }

/// Only the low 13 bits of `value` are stored.
inline void setPid(uint8_t* b, uint16_t value)
{
    b[1] = static_cast<uint8_t>((b[1] & 0xE0) | (value >> 8 & 0x1F));
    b[2] = static_cast<uint8_t>(value);
}
/// Only the low 4 bits of `value` are stored.
inline void setContinuityCounter(uint8_t* b, uint8_t value)
{
    b[3] = static_cast<uint8_t>((b[3] & 0xF0) | (value & 0x0F));
}
/// For a packet that hasAdaptationFlags().
inline void setDiscontinuity(uint8_t* b) { b[5] |= 0x80; }
/// Replaces the PCR of a packet that hasPcr(); `ticks` is taken modulo PCR_RANGE, the reserved bits stay.
inline void setPcr(uint8_t* b, uint64_t ticks)
{
    const uint64_t base = ticks / PCR_TICKS_PER_BASE % TIME_STAMP_RANGE;
    const auto extension = static_cast<uint32_t>(ticks % PCR_TICKS_PER_BASE);
    b[6] = static_cast<uint8_t>(base >> 25);
    b[7] = static_cast<uint8_t>(base >> 17);
    b[8] = static_cast<uint8_t>(base >> 9);
    b[9] = static_cast<uint8_t>(base >> 1);
    b[10] = static_cast<uint8_t>((base & 1) << 7 | (b[10] & 0x7E) | extension >> 8);
    b[11] = static_cast<uint8_t>(extension);
}

} // namespace Ll
} // namespace Osl::Ts
