#pragma once

#include <cstdint>

/// The PIDs that the standards keep for tables.
namespace Osl::Ts {

inline constexpr uint16_t PAT_PID = 0x00;
inline constexpr uint16_t CAT_PID = 0x01;
inline constexpr uint16_t NIT_PID = 0x10; ///< where the PAT names no other
inline constexpr uint16_t SDT_PID = 0x11;
inline constexpr uint16_t EIT_PID = 0x12;
inline constexpr uint16_t TDT_PID = 0x14;
inline constexpr uint16_t LAST_FIXED_PID = 0x1F;
inline constexpr uint16_t ATSC_PID = 0x1FFB;

inline bool isFixedPid(uint16_t pid) { return pid <= LAST_FIXED_PID || pid == ATSC_PID; }

} // namespace Osl::Ts
