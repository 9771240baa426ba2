#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

namespace Osl::Drivers::Misc {

/// `width` (1..32) bits upwards from bit `lsb` of word `word` of a row of 32-bit words.
struct BitField
{
    std::string_view name; ///< unique in its row
    uint32_t word;
    uint32_t lsb;
    uint32_t width;

    /// Largest value that fits.
    constexpr uint32_t max() const { return static_cast<uint32_t>((uint64_t{1} << width) - 1); }
    constexpr uint32_t mask() const { return max() << lsb; }
    constexpr uint32_t get(std::span<const uint32_t> words) const { return words[word] >> lsb & max(); }
    /// Leaves all other bits as they are; `value` must not be above max().
    constexpr void put(std::span<uint32_t> words, uint32_t value) const
    {
        words[word] = (words[word] & ~mask()) | value << lsb;
    }
};

/// Whether all fields lie inside `TOT_WORDS` words and no two share a bit or a name.
template <std::size_t TOT_WORDS, std::size_t COUNT>
constexpr bool isSound(const std::array<BitField, COUNT>& layout)
{
    std::array<uint32_t, TOT_WORDS> used{};
    for (std::size_t i = 0; i < COUNT; ++i) {
        const BitField& field = layout[i];
        if (field.word >= TOT_WORDS || field.width < 1 || field.width > 32 || field.lsb > 32 - field.width)
            return false;
        if ((used[field.word] & field.mask()) != 0)
            return false;
        used[field.word] |= field.mask();
        for (std::size_t j = 0; j < i; ++j)
            if (layout[j].name == field.name)
                return false;
    }
    return true;
}

} // namespace Osl::Drivers::Misc
