#pragma once

#include <osl/userspace_drivers/drivers_misc/bitfield.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <span>
#include <string_view>
#include <utility>

namespace Osl::Drivers::Zeb {

/// Word of a field that is its row's position in the table, and not stored in the row.
inline constexpr uint32_t POSITION = 0xFFFFFFFF;

/// Most words that a row can have.
inline constexpr std::size_t MAX_ROW_WORDS = 4;
using RowBits = std::array<uint32_t, MAX_ROW_WORDS>;

/// All that there is to know of a field of a table's rows.
struct Field
{
    Misc::BitField at;
    uint32_t stuffing = 0; ///< its value in a row that is not in use
    uint32_t min = 0;      ///< least value that a setter accepts
    uint32_t max = ~0U;    ///< largest, where that is less than what fits
    /// A row is not in use when all its fields that are marked so hold their stuffing values.
    bool tellsUse = false;
    /// What a setter says of a value outside the range; behind a "(" the value and a ")" follow.
    std::string_view refusal{};
    /// What a constructor says, where that is something else.
    std::string_view creationRefusal{};
    /// The flag that a setter sets along with the field.
    std::string_view switchesOn{};

    constexpr bool isStored() const { return at.word != POSITION; }
    constexpr bool accepts(uint32_t value) const { return value >= min && value <= std::min(max, at.max()); }
};

/// The FPGA functions that hold tables, each mapped by a device of its own.
enum class TableBlock { PID, IO, SCM };

/// How the control word of a table with two banks tells which of them the FPGA uses.
enum class BankSelect {
    BIT,       ///< its lowest bit; the other bits are the FPGA's and stay as they are
    WHOLE_WORD ///< zero: the first, anything else: the second
};

/// Value of `TableLayout::bankWord` for a table with one bank.
inline constexpr uint32_t NO_BANK_WORD = 0xFFFFFFFF;

/// The declaration of a table. Reading, printing, editing and clearing are written once, over this. Offsets count
/// 32-bit words of the block's memory.
struct TableLayout
{
    std::string_view name{}; ///< as messages print it
    TableBlock block{};
    /// First word of the bank that the FPGA uses while the first and while the second is selected; twice the same for a
    /// table that is reached at one address only.
    std::array<uint32_t, 2> activeBase{};
    uint32_t rows = 0;
    uint32_t wordsPerRow = 0;
    uint32_t firstRow = 0;            ///< rows below are reserved
    uint32_t bankWord = NO_BANK_WORD; ///< control word that tells, and when changed switches, the bank in use
    BankSelect bankSelect = BankSelect::BIT;
    bool needsBarriers = false;  ///< whether each write to the banks must be seen before the next
    bool idleIsReadable = false; ///< whether the bank that is not in use can be read
    std::span<const Field> fields{};
    int rowDigits = 3; ///< of a row's number in a read-out
    /// A row in a read-out, behind number and address: {NAME} stands for a field (a flag as YES or NO), {NAME:03} for
    /// three decimal digits or more, {NAME:04x} and {NAME:02X} for hexadecimal ones, {NAME:ip} for an IPv4 address.
    std::string_view format{};

    static constexpr uint32_t BANK_BIT = 1;

    constexpr uint32_t words() const { return rows * wordsPerRow; }
    constexpr bool hasBanks() const { return bankWord != NO_BANK_WORD; }
    /// Bank in use, 0 or 1, by the control word.
    constexpr uint32_t bankInUse(uint32_t control) const
    {
        return bankSelect == BankSelect::BIT ? control & BANK_BIT : control != 0;
    }
    /// First word of the active bank by the control word.
    constexpr uint32_t active(uint32_t control) const { return activeBase[bankInUse(control)]; }
    /// First word of the bank to fill before the switch, by the control word.
    constexpr uint32_t spare(uint32_t control) const { return activeBase[1 - bankInUse(control)]; }
    /// First word of a row of a table that is reached at one address.
    constexpr uint32_t rowOffset(uint32_t row) const { return activeBase[0] + row * wordsPerRow; }

    /// Place of a field in `fields`; their number where there is none of that name.
    constexpr std::size_t placeOf(std::string_view fieldName) const
    {
        std::size_t place = 0;
        while (place < fields.size() && fields[place].at.name != fieldName)
            ++place;
        return place;
    }
    constexpr bool has(std::string_view fieldName) const { return placeOf(fieldName) < fields.size(); }
    /// Null where there is none of that name.
    constexpr const Field* find(std::string_view fieldName) const
    {
        return has(fieldName) ? &fields[placeOf(fieldName)] : nullptr;
    }
    /// The bits of a row that belong to a field.
    constexpr RowBits usedBits() const
    {
        RowBits used{};
        for (const Field& field : fields)
            if (field.isStored())
                used[field.at.word] |= field.at.mask();
        return used;
    }
    constexpr bool isUnused(std::span<const uint32_t> row) const
    {
        return std::all_of(fields.begin(), fields.end(), [row](const Field& field) {
            return !field.tellsUse || field.at.get(row) == field.stuffing;
        });
    }
};

/// Whether the fields lie inside the row, no two share a bit or a name, one at most is the position, and what is
/// said of fields by name names fields.
constexpr bool isSound(const TableLayout& table)
{
    std::array<uint32_t, MAX_ROW_WORDS> used{};
    uint32_t words = 0;
    bool hasPosition = false;
    for (std::size_t place = 0; place < table.fields.size(); ++place) {
        const Field& field = table.fields[place];
        const Misc::BitField& at = field.at;
        if (at.width < 1 || at.width > 32 || at.lsb > 32 - at.width || table.placeOf(at.name) != place)
            return false;
        if (field.stuffing > at.max() || (!field.switchesOn.empty() && !table.has(field.switchesOn)))
            return false;
        if (!field.isStored()) {
            if (std::exchange(hasPosition, true))
                return false;
            continue;
        }
        if (at.word >= used.size() || (used[at.word] & at.mask()) != 0)
            return false;
        used[at.word] |= at.mask();
        words = std::max(words, at.word + 1);
    }
    for (std::size_t at = 0; (at = table.format.find('{', at)) != std::string_view::npos; ++at)
        if (!table.has(table.format.substr(at + 1, table.format.find_first_of(":}", at) - at - 1)))
            return false;
    return words == table.wordsPerRow;
}

} // namespace Osl::Drivers::Zeb
