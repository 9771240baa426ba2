#pragma once

#include <osl/userspace_drivers/drivers_misc/bitfield.h>

#include <array>
#include <cstdint>
#include <string_view>

namespace Osl::Drivers::Zeb {

/// Fields of a row of the scrambler's PID LUT, which is one word; the bits above are 0 in new rows.
struct ScmPidLutFields
{
    static constexpr Misc::BitField PID{"PID", 0, 0, 13}; ///< all ones: no entry, and the end of the list
    static constexpr Misc::BitField SCMIDX{"SCMIDX", 0, 13, 3};
    static constexpr Misc::BitField KEYIDX{"KEYIDX", 0, 16, 6};
    static constexpr std::array ALL{PID, SCMIDX, KEYIDX};
    static_assert(Misc::isSound<1>(ALL));
};

/// Where the scrambler's PID LUT lies. Offsets count 32-bit words.
struct ScmPidLutLayout
{
    static constexpr uint32_t ROWS = 512;
    static constexpr uint32_t BANK_WORD = 4; ///< zero: the first bank is in use, anything else: the second
    static constexpr std::array<uint32_t, 2> BANKS{1024, 1536};
    static constexpr uint32_t EMPTY_ROW = 0xFFFFFFFF;

    /// First word of the bank in use by the value of BANK_WORD.
    static constexpr uint32_t active(uint32_t bankWord) { return BANKS[bankWord != 0]; }
    /// First word of the other bank.
    static constexpr uint32_t inactive(uint32_t bankWord) { return BANKS[bankWord == 0]; }
    /// Value of BANK_WORD that puts the other bank to use.
    static constexpr uint32_t switched(uint32_t bankWord) { return bankWord == 0; }
};

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
