#pragma once

#include "zeb_fpga_shell/cli/options.h"

#include <osl/userspace_drivers/drivers/zeb/ts/tablelayout.h>
#include <osl/userspace_drivers/interfaces/imemif.h>

#include <fmt/format.h>

#include <algorithm>
#include <memory>
#include <optional>
#include <ostream>
#include <span>
#include <string>
#include <utility>

/// What the commands that write rows of the routing tables have in common: rows are filled from options, and a field in
/// use that changes only because its option was left out is noted.
namespace Osl::Utils {

/// An option and what it stands for in a row, as the user is told.
template <class Entry>
struct ShownField
{
    const char* option;
    std::string (*show)(const Entry& entry);
};

/// An option and the field of a row that it gives.
template <class Entry>
struct OptionField : ShownField<Entry>
{
    /// Puts the option's value, or its default, into the row; raises what the row's setter raises.
    void (*put)(Entry& entry, const Options& options, const char* option);
};

namespace Detail {

template <class Entry, class Result>
Entry ownerOf(Result (Entry::*getter)() const);
template <auto GET>
using Owner = decltype(ownerOf(GET));

} // namespace Detail

template <auto GET>
std::string showNumber(const Detail::Owner<GET>& entry)
{
    return fmt::to_string((entry.*GET)());
}

template <auto SET, auto GET>
constexpr OptionField<Detail::Owner<GET>> numberField(const char* option)
{
    return {{option, &showNumber<GET>}, [](Detail::Owner<GET>& entry, const Options& options, const char* name) {
                (entry.*SET)(options[name].as<uint32_t>());
            }};
}

template <auto SET, auto GET>
constexpr OptionField<Detail::Owner<GET>> flagField(const char* option)
{
    return {{option, [](const Detail::Owner<GET>& entry) { return std::string((entry.*GET)() ? "YES" : "NO"); }},
            [](Detail::Owner<GET>& entry, const Options& options, const char* name) {
                (entry.*SET)(options.count(name) != 0);
            }};
}

template <class Entry>
void putFields(std::span<const OptionField<Entry>> fields, Entry& entry, const Options& options)
{
    for (const OptionField<Entry>& field : fields)
        field.put(entry, options, field.option);
}

/// Says which fields of a row in use changed though their options were not given.
template <class Fields, class Entry>
void noteDefaults(const Fields& fields, const Options& options, const Entry& before, const Entry& after,
                  std::ostream& notes)
{
    for (const auto& field : fields) {
        const std::string old = field.show(before);
        const std::string now = field.show(after);
        if (options.count(field.option) == 0 && old != now)
            notes << fmt::format("Note: --{} was not given; {} is written (before: {})\n", field.option, now, old);
    }
}

/// A table whose rows are written one by one.
template <class RowEntry, class RowDriver>
struct RowTable
{
    using Entry = RowEntry;
    using Driver = RowDriver;

    const Drivers::Zeb::TableLayout& layout;
    const char* indexOption;
    std::span<const OptionField<Entry>> fields; ///< in the order in which they are put
    void (Driver::*write)(const Entry& entry);
};

/// Whether the hardware acts on the row: it is enabled, or, where rows cannot be disabled, is no stuffing row.
template <class Entry>
bool isInUse(const Entry& entry, uint32_t index)
{
    if constexpr (requires { entry.isEnabled(); })
        return entry.isEnabled();
    else
        return entry.getWords() != Entry(index).getWords();
}

/// The row in the table when it is in use; it is read only where an option was left out, since nothing can be said
/// otherwise.
template <class Table>
std::optional<typename Table::Entry> rowToCompare(const Table& table, uint32_t index, const Options& options,
                                                  Drivers::IMemIf& memory)
{
    if (std::all_of(table.fields.begin(), table.fields.end(),
                    [&](const auto& field) { return options.count(field.option) != 0; }))
        return std::nullopt;
    typename Table::Entry entry(index);
    entry.setFromWords(memory.readBlock32(table.layout.rowOffset(index), table.layout.wordsPerRow));
    return isInUse(entry, index) ? std::optional(entry) : std::nullopt;
}

/// Writes one row from the options, or with "clear" its stuffing.
template <const auto& TABLE>
void writeRow(const Options& options, const std::shared_ptr<Drivers::IMemIf>& memory, std::ostream& notes)
{
    using Table = std::remove_cvref_t<decltype(TABLE)>;
    typename Table::Driver driver(memory);
    const auto index = options[TABLE.indexOption].template as<uint32_t>();
    typename Table::Entry entry(index);
    if (options.count("clear") != 0) {
        (driver.*TABLE.write)(entry);
        return;
    }
    if constexpr (requires { entry.setEnabled(true); })
        entry.setEnabled(true);
    putFields(TABLE.fields, entry, options);
    const std::optional<typename Table::Entry> before = rowToCompare(TABLE, index, options, *memory);
    (driver.*TABLE.write)(entry);
    if (before)
        noteDefaults(TABLE.fields, options, *before, entry, notes);
}

} // namespace Osl::Utils
