#include "list_writer.h"

#include "decode.h"
#include "encode.h"
#include "plan_text.h"

#include <osl/userspace_drivers/drivers/zeb/ts/pidmapentry.h>

#include <fmt/format.h>

#include <algorithm>

namespace Osl::ZebRouting {

using Drivers::Zeb::O_PID_MAP;
using Drivers::Zeb::PidMapEntry;

/// The rows from `first` on, the last of the list first.
void ListWriter::writeRows(const Destinations& to, const ListPlan::Rows& rows, std::size_t first)
{
    for (std::size_t i = rows.size(); i-- > first;)
        m_Writer.write(rows[i], listRow(to[i], i + 1 < rows.size() ? rows[i + 1] : 0));
}

uint16_t ListWriter::nextOf(uint16_t row) const { return ListChains(m_Writer.now()).next(row); }

void ListWriter::link(uint16_t row, uint16_t next)
{
    const Words now = m_Writer.now().row(O_PID_MAP, row);
    RowCopy words(now.begin(), now.end());
    PidMapEntry::FIELD<"NEXT_PIDidx">.at.put(words, next);
    m_Writer.write(row, words);
}

void ListWriter::writeNew()
{
    for (const ListPlan::NewList& list : m_Lists.newLists) {
        m_Writer.begin(O_PID_MAP, fmt::format("list {} ({}) for {}", list.rows.front(),
                                              countText(list.rows.size(), "row"), usersText(list.users)));
        writeRows(list.to, list.rows, 0);
    }
    for (const ListPlan::NumberedList& list : m_Lists.numberedLists) {
        m_Writer.begin(O_PID_MAP, fmt::format("list {}: {} behind its first", list.number,
                                              countText(list.rows.size() - 1, "row")));
        writeRows(list.to, list.rows, 1);
    }
}

void ListWriter::changeInPlace(bool ofWholeTsis, std::vector<std::string>& notes)
{
    for (const ListPlan::ChangedList& list : m_Lists.changedLists) {
        if (list.users.front().isWholeTsi() != ofWholeTsis)
            continue;
        notes.push_back(fmt::format("{}: for a moment to both the old and the new outputs, since the {} has only {}",
                                    usersText(list.users), O_PID_MAP.name, countText(m_Lists.freeRows, "free row")));
        change(list);
    }
}

/// Adds what is missing before it takes away what is too much; each destination changes by one write.
void ListWriter::change(const ListPlan::ChangedList& list)
{
    Destinations missing = list.to;
    ListPlan::Rows others; // whose destinations are not wanted
    const ListChains before(m_Present);
    for (const uint16_t row : list.rows) {
        const auto wanted = std::find(missing.begin(), missing.end(), before.destination(row));
        if (before.isEnabled(row) && wanted != missing.end())
            missing.erase(wanted);
        else
            others.push_back(row);
    }
    m_Writer.begin(O_PID_MAP, fmt::format("list {} ({}) changes while it is used, for {}", list.rows.front(),
                                          countText(list.to.size(), "row"), usersText(list.users)));
    if (!list.extra.empty()) {
        const auto firstAdded = missing.end() - static_cast<std::ptrdiff_t>(list.extra.size());
        writeRows({firstAdded, missing.end()}, list.extra, 0);
        missing.erase(firstAdded, missing.end());
        link(list.rows.back(), list.extra.front());
    }
    auto other = others.begin();
    for (const Destination to : missing) {
        m_Writer.write(*other, listRow(to, nextOf(*other)));
        ++other;
    }
    for (; other != others.end(); ++other)
        takeAway(list, *other);
}

/// Whoever is at the row meanwhile still finds the way on.
void ListWriter::takeAway(const ListPlan::ChangedList& list, uint16_t row)
{
    const Words now = m_Writer.now().row(O_PID_MAP, row);
    RowCopy words(now.begin(), now.end());
    PidMapEntry::FIELD<"ENABLED">.at.put(words, 0);
    m_Writer.write(row, words);
    if (row == list.rows.front())
        return; // the routes' PIDIDX: it stays, and leads on
    const auto before =
        std::find_if(list.rows.begin(), list.rows.end(), [&](uint16_t candidate) { return nextOf(candidate) == row; });
    if (before != list.rows.end())
        link(*before, nextOf(row));
}

void ListWriter::writeNumbered()
{
    for (const ListPlan::NumberedList& list : m_Lists.numberedLists) {
        m_Writer.begin(O_PID_MAP, fmt::format("list {}: its first row", list.number));
        m_Writer.write(list.number, listRow(list.to.front(), list.rows.size() > 1 ? list.rows[1] : 0));
    }
}

void ListWriter::clearUnused(const Routing& wanted)
{
    ListPlan::RowSet reached;
    const ListChains lists(m_Writer.now());
    std::vector<uint16_t> entries = listEntries(m_Writer.now());
    for (const List& list : wanted.lists)
        entries.push_back(list.pidIdx);
    for (const uint16_t entry : entries)
        for (uint16_t row = entry; row != 0 && !reached[row]; row = lists.next(row))
            reached.set(row);
    const ListPlan::RowSet unused = m_Lists.reachedBefore() & ~reached;
    m_Writer.begin(O_PID_MAP, "rows of lists that nobody uses any more", true);
    for (uint32_t row = O_PID_MAP.firstRow; row < O_PID_MAP.rows; ++row)
        if (unused[row])
            m_Writer.clear(row);
}

} // namespace Osl::ZebRouting
