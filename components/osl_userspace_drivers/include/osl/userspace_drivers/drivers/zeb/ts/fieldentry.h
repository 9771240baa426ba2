#pragma once

#include <osl/cpputils/error.h>
#include <osl/userspace_drivers/drivers/zeb/ts/tabledecl.h>
#include <osl/userspace_drivers/drivers_misc/serentry.h>

#include <cstdint>
#include <span>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

namespace Osl::Drivers::Zeb {

/// A row of any table, with the fields that its declaration names. The words are the fields: nothing is kept twice.
/// Bits without a field are written as 0 and ignored when read.
class FieldEntry : public Misc::SerilizeableEntry<uint32_t>
{
public:
    /// A row that is not in use. `table` must outlive the row.
    explicit FieldEntry(const TableLayout& table);

    void serialize() override {} // the words hold the fields at any time
    /// Any words are a valid row.
    bool deserialize() override;
    /// Gives every field, its position included, the value of a row that is not in use.
    void setStuffing() override;

    const TableLayout& table() const { return *m_Table; }
    uint32_t get(const Field& field) const { return field.isStored() ? field.at.get(m_Words) : m_Position; }
    /// Raises ZebDriverError, the row unchanged, for a value outside the field's range.
    void set(const Field& field, uint32_t value) { put(field, value, field.refusal); }

    /// Row number, for a table whose rows have a field for it; not stored in the words.
    uint32_t position() const { return m_Position; }
    /// For who knows the row: read-outs, which take each row as it is.
    void setPosition(uint32_t position) { m_Position = position; }
    bool isUnused() const { return m_Table->isUnused(m_Words); }

protected:
    /// The row that the hardware keeps in these words, as many as the table's rows have. `used` are its fields' bits.
    FieldEntry(const TableLayout& table, std::vector<uint32_t> words, const RowBits& used);

    /// set() with the text of a constructor.
    void create(const Field& field, uint32_t value)
    {
        put(field, value, field.creationRefusal.empty() ? field.refusal : field.creationRefusal);
    }

private:
    void stuff();
    void keepOnly(const RowBits& used);
    void put(const Field& field, uint32_t value, std::string_view refusal);
    void store(const Field& field, uint32_t value);

    uint32_t m_Position = 0; // first: it fills a gap, and a full table has thousands of rows
    const TableLayout* m_Table;
};

/// Raises ZebDriverError with a field's refusal of a value.
[[noreturn]] void refuse(std::string_view refusal, std::string_view value);

/// Type of a field: a flag, or the smallest unsigned number of `WIDTH` bits or more.
template <uint32_t WIDTH>
using FieldType =
    std::conditional_t<WIDTH == 1, bool,
                       std::conditional_t<WIDTH <= 8, uint8_t, std::conditional_t<WIDTH <= 16, uint16_t, uint32_t>>>;

/// A row of one table, whose fields are known by name when the program is compiled: get<"PID">(). A name that the table
/// does not declare does not compile.
template <const TableLayout& TABLE>
class DeclaredEntry : public FieldEntry
{
    static_assert(isSound(TABLE));

public:
    static constexpr std::size_t TOT_WORDS = TABLE.wordsPerRow;

    /// A row that is not in use.
    DeclaredEntry() : FieldEntry(TABLE) {}
    explicit DeclaredEntry(std::vector<uint32_t> words) : FieldEntry(TABLE, std::move(words), USED_BITS) {}

    template <CppUtil::FixedText NAME>
    static constexpr const Field& FIELD = *TABLE.find(NAME.chars);

    using FieldEntry::get;
    using FieldEntry::set;

    /// A field's value, in the smallest type that holds it.
    template <CppUtil::FixedText NAME>
    auto get() const
    {
        return static_cast<FieldType<FIELD<NAME>.at.width>>(get(FIELD<NAME>));
    }
    template <CppUtil::FixedText NAME>
    void set(uint32_t value)
    {
        set(FIELD<NAME>, value);
    }

protected:
    /// Sets fields in this order, as a constructor does: the first value that does not fit is the one refused.
    template <CppUtil::FixedText... NAMES, class... Values>
    void create(Values... values)
    {
        (FieldEntry::create(FIELD<NAMES>, values), ...);
    }
    /// Values to be compared with those of another row.
    template <CppUtil::FixedText... NAMES>
    auto key() const
    {
        return std::tuple(get(FIELD<NAMES>)...);
    }

private:
    static constexpr RowBits USED_BITS = TABLE.usedBits();
};

} // namespace Osl::Drivers::Zeb
