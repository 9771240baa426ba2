#pragma once

#include <osl/userspace_drivers/drivers/zeb/ts/tabledecl.h>

#include <array>
#include <cstdint>
#include <string_view>

namespace Osl::Drivers::Zeb {

inline constexpr std::array SCM_PID_LUT_FIELDS{
    // All ones: no entry, and the end of the list.
    Field{.at = {"PID", 0, 0, 13}, .stuffing = 0x1FFF, .max = 0x1FFE, .tellsUse = true},
    Field{.at = {"SCMIDX", 0, 13, 3}, .stuffing = 7},
    Field{.at = {"KEYIDX", 0, 16, 6}, .stuffing = 63},
    Field{.at = {"RESERVED", 0, 22, 10}, .stuffing = 0x3FF},
};

/// The scrambler's PID LUT: packed, and sorted by scrambler, then PID.
inline constexpr TableLayout SCM_PID_LUT{
    .name = "scrambler PID LUT",
    .block = TableBlock::SCM,
    .activeBase = {1024, 1536},
    .rows = 512,
    .wordsPerRow = 1,
    .bankWord = 4,
    .bankSelect = BankSelect::WHOLE_WORD,
    .idleIsReadable = true,
    .fields = SCM_PID_LUT_FIELDS,
    .format = "SCMIDX:{SCMIDX}, PID:0x{PID:04x}, KEYIDX:{KEYIDX}, ",
};
static_assert(isSound(SCM_PID_LUT));

/// The four words, the least significant first, of a 128-bit key or initialisation vector.
struct ScmKeySlot
{
    std::string_view name;
    uint32_t firstWord;
};

inline constexpr ScmKeySlot SCM_IV_EVEN{"IV_EVEN", 32};
inline constexpr ScmKeySlot SCM_KEY_EVEN{"KEY_EVEN", 36};
inline constexpr ScmKeySlot SCM_IV_ODD{"IV_ODD", 40};
inline constexpr ScmKeySlot SCM_KEY_ODD{"KEY_ODD", 44};
inline constexpr std::array SCM_KEY_SLOTS{SCM_IV_EVEN, SCM_KEY_EVEN, SCM_IV_ODD, SCM_KEY_ODD};

} // namespace Osl::Drivers::Zeb
