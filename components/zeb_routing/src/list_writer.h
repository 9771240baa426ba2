#pragma once

#include "list_plan.h"
#include "row_writer.h"

#include <string>
#include <vector>

namespace Osl::ZebRouting {

/// Writes the lists of a plan. All that is handed over must outlive it.
class ListWriter
{
public:
    ListWriter(const Tables& present, const ListPlan& lists, RowWriter& writer)
        : m_Present(present),
          m_Lists(lists),
          m_Writer(writer)
    {
    }

    /// To rows that no route reaches.
    void writeNew();
    /// Where they are in use, those of whole TSIs or all others. Notes what the user should know of it.
    void changeInPlace(bool ofWholeTsis, std::vector<std::string>& notes);
    /// What is new of lists with a number of their own, once routes need their old rows no more.
    void writeNumbered();
    /// Rows that were in use and are so no more.
    void clearUnused(const Routing& wanted);

private:
    void writeRows(const Destinations& to, const ListPlan::Rows& rows, std::size_t first);
    void change(const ListPlan::ChangedList& list);
    void takeAway(const ListPlan::ChangedList& list, uint16_t row);
    void link(uint16_t row, uint16_t next);
    uint16_t nextOf(uint16_t row) const;

    const Tables& m_Present;
    const ListPlan& m_Lists;
    RowWriter& m_Writer;
};

} // namespace Osl::ZebRouting
