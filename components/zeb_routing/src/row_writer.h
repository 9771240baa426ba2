#pragma once

#include <osl/zeb_routing/plan.h>

#include <span>
#include <string>

namespace Osl::ZebRouting {

/// Notes steps that write rows in place, and keeps the tables as they are after them.
class RowWriter
{
public:
    using Layout = Tables::Layout;

    explicit RowWriter(Tables tables) : m_Now(std::move(tables)) {}

    const Tables& now() const { return m_Now; }

    /// Begins a step; it is dropped again when nothing is written before the next one begins.
    void begin(const Layout& table, std::string text, bool settlesFirst = false);
    /// A row of the step's table, word by word: first the one that disables it, last the one that enables it. Words
    /// whose fields stay the same are not written.
    void write(uint32_t row, std::span<const uint32_t> words);
    /// The same with all fields of an unused row.
    void clear(uint32_t row);
    /// Fills the other bank of a table with two, and makes it the one in use.
    void replace(const Layout& table, std::string text, std::size_t changedRows, const Tables& rows);

    std::vector<Step> finish();

private:
    void writeWord(uint32_t row, uint32_t word, uint32_t value);
    void dropEmptyStep();

    Tables m_Now;
    std::vector<Step> m_Steps;
};

/// Whether two rows have the same fields, whatever their unused bits.
bool sameFields(const Tables::Layout& table, std::span<const uint32_t> a, std::span<const uint32_t> b);

} // namespace Osl::ZebRouting
