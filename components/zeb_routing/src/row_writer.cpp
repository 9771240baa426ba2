#include "row_writer.h"

#include <osl/userspace_drivers/drivers/zeb/ts/fieldentry.h>

#include <algorithm>
#include <utility>

namespace Osl::ZebRouting {

using namespace Drivers::Zeb;

namespace {

using Words = std::span<const uint32_t>;

/// The field that keeps a row in place from being used; null: a row of one word needs none.
const Drivers::Misc::BitField* enableOf(const TableLayout& table)
{
    const Field* const field = table.wordsPerRow > 1 && !table.hasBanks() ? table.find("ENABLED") : nullptr;
    return field == nullptr ? nullptr : &field->at;
}

/// The words in which any field changes.
std::vector<uint32_t> changingWords(const TableLayout& table, Words from, Words to)
{
    const RowBits used = table.usedBits();
    std::vector<uint32_t> changing;
    for (uint32_t word = 0; word < table.wordsPerRow; ++word)
        if (((from[word] ^ to[word]) & used[word]) != 0)
            changing.push_back(word);
    return changing;
}

} // namespace

bool sameFields(const TableLayout& table, Words a, Words b) { return changingWords(table, a, b).empty(); }

void RowWriter::begin(const TableLayout& table, std::string text, bool settlesFirst)
{
    dropEmptyStep();
    m_Steps.push_back({.text = std::move(text), .table = &table, .settlesFirst = settlesFirst});
}

void RowWriter::write(uint32_t row, Words words)
{
    const TableLayout& table = *m_Steps.back().table;
    const Words now = m_Now.row(table, row);
    const std::vector<uint32_t> changing = changingWords(table, now, words);
    if (changing.empty())
        return;
    ++m_Steps.back().rows;
    const Drivers::Misc::BitField* const enable = enableOf(table);
    // Nobody may see a row of which only some words are new.
    if (enable != nullptr && changing.size() > 1 && enable->get(now) != 0)
        writeWord(row, enable->word, words[enable->word] & ~enable->mask());
    for (const uint32_t word : changing)
        if (enable == nullptr || word != enable->word)
            writeWord(row, word, words[word]);
    if (enable != nullptr && (changing.size() > 1 || changing.front() == enable->word))
        writeWord(row, enable->word, words[enable->word]);
}

void RowWriter::clear(uint32_t row) { write(row, FieldEntry(*m_Steps.back().table).getWords()); }

void RowWriter::replace(const TableLayout& table, std::string text, std::size_t changedRows, const Tables& rows)
{
    dropEmptyStep();
    const Words words = rows.words(table);
    m_Steps.push_back({.text = std::move(text),
                       .table = &table,
                       .bank = std::vector<uint32_t>(words.begin(), words.end()),
                       .rows = changedRows});
    for (uint32_t row = 0; row < table.rows; ++row)
        m_Now.setRow(table, row, rows.row(table, row));
}

std::vector<Step> RowWriter::finish()
{
    dropEmptyStep();
    return std::move(m_Steps);
}

/// Only a word that changes is stored.
void RowWriter::writeWord(uint32_t row, uint32_t word, uint32_t value)
{
    Step& step = m_Steps.back();
    const Words before = m_Now.row(*step.table, row);
    if (before[word] == value)
        return;
    std::vector<uint32_t> words(before.begin(), before.end());
    words[word] = value;
    m_Now.setRow(*step.table, row, words);
    step.writes.push_back({step.table->rowOffset(row) + word, value});
}

void RowWriter::dropEmptyStep()
{
    if (!m_Steps.empty() && m_Steps.back().writes.empty() && m_Steps.back().bank.empty())
        m_Steps.pop_back();
}

} // namespace Osl::ZebRouting
