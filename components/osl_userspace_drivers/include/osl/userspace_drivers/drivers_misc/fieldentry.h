#pragma once

#include <osl/cpputils/assertion.h>
#include <osl/userspace_drivers/drivers_misc/bitfield.h>
#include <osl/userspace_drivers/drivers_misc/serentry.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <type_traits>
#include <utility>

namespace Osl::Drivers::Misc {

/// Type of a field: a flag, or the smallest unsigned number of `WIDTH` bits or more.
template <uint32_t WIDTH>
using FieldType =
    std::conditional_t<WIDTH == 1, bool,
                       std::conditional_t<WIDTH <= 8, uint8_t, std::conditional_t<WIDTH <= 16, uint16_t, uint32_t>>>;

/// A row of `ROW_WORDS` words whose fields are declared by `LAYOUT`, an array of BitField with static storage. Bits
/// without a field are written as 0 and ignored when read.
template <std::size_t ROW_WORDS, const auto& LAYOUT>
class FieldEntry : public SerilizeableEntry<uint32_t>
{
    static_assert(isSound<ROW_WORDS>(LAYOUT), "a field leaves the row or shares a bit or a name with another");

public:
    static constexpr std::size_t TOT_WORDS = ROW_WORDS;

    void serialize() final
    {
        std::fill(m_Words.begin(), m_Words.end(), 0);
        forEachField([this](auto i) { LAYOUT[i].put(m_Words, m_Values[i]); });
    }

    /// Any words are a valid row.
    bool deserialize() override
    {
        forEachField([this](auto i) { m_Values[i] = LAYOUT[i].get(m_Words); });
        return true;
    }

protected:
    FieldEntry() : SerilizeableEntry(TOT_WORDS) {}

    /// Value of a field of LAYOUT, in the smallest type that holds it.
    template <const BitField& FIELD>
    FieldType<FIELD.width> value() const
    {
        constexpr std::size_t INDEX = indexOf(FIELD);
        return static_cast<FieldType<FIELD.width>>(m_Values[INDEX]);
    }

    /// The caller has checked the range; a value that its field cannot hold is never cut down silently.
    template <const BitField& FIELD>
    void setValue(uint32_t value)
    {
        constexpr std::size_t INDEX = indexOf(FIELD);
        OSL_ASSERT(value <= FIELD.max());
        m_Values[INDEX] = value;
        setDirty();
    }

private:
    /// Calls `visit` with each index of LAYOUT as a constant, so that words, shifts and masks are constants as well.
    template <class Visit>
    static void forEachField(const Visit& visit)
    {
        [&visit]<std::size_t... I>(std::index_sequence<I...>)
        {
            (visit(std::integral_constant<std::size_t, I>()), ...);
        }
        (std::make_index_sequence<LAYOUT.size()>());
    }

    static constexpr std::size_t indexOf(const BitField& field)
    {
        std::size_t index = 0;
        while (LAYOUT.at(index).name != field.name) // leaving the array does not compile
            ++index;
        return index;
    }

    std::array<uint32_t, LAYOUT.size()> m_Values{};
};

} // namespace Osl::Drivers::Misc
