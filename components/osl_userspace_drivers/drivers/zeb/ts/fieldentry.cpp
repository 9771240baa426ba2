#include <osl/cpputils/assertion.h>
#include <osl/userspace_drivers/drivers/drivererror.h>
#include <osl/userspace_drivers/drivers/zeb/ts/fieldentry.h>

#include <fmt/format.h>

#include <string>

namespace Osl::Drivers::Zeb {

void refuse(std::string_view refusal, std::string_view value)
{
    const bool isCutOff = refusal.ends_with('(');
    OSL_RAISE(ZebDriverError, fmt::format("{}{}{}", refusal, isCutOff ? value : "", isCutOff ? ")" : ""));
}

FieldEntry::FieldEntry(const TableLayout& table) : SerilizeableEntry(table.wordsPerRow), m_Table(&table) { stuff(); }

FieldEntry::FieldEntry(const TableLayout& table, std::vector<uint32_t> words, const RowBits& used)
    : SerilizeableEntry(std::move(words)),
      m_Table(&table)
{
    OSL_ASSERT(m_Words.size() == table.wordsPerRow);
    keepOnly(used);
}

bool FieldEntry::deserialize()
{
    keepOnly(m_Table->usedBits());
    return true;
}

void FieldEntry::keepOnly(const RowBits& used)
{
    for (std::size_t word = 0; word < m_Words.size(); ++word)
        m_Words[word] &= used[word];
}

void FieldEntry::setStuffing() { stuff(); }

void FieldEntry::stuff()
{
    for (const Field& field : m_Table->fields)
        store(field, field.stuffing);
}

void FieldEntry::put(const Field& field, uint32_t value, std::string_view refusal)
{
    if (!field.accepts(value))
        refuse(refusal, std::to_string(value));
    store(field, value);
    if (!field.switchesOn.empty())
        store(*m_Table->find(field.switchesOn), 1);
}

void FieldEntry::store(const Field& field, uint32_t value)
{
    if (field.isStored())
        field.at.put(m_Words, value);
    else
        m_Position = value;
}

} // namespace Osl::Drivers::Zeb
