#pragma once

#include "list_map.h"

#include <osl/zeb_routing/translation.h>

#include <array>
#include <bitset>
#include <cstdint>
#include <map>
#include <vector>

namespace Osl::ZebRouting {

/// There are not enough rows for all lists.
struct RowsRunShort : RoutingError
{
    using RoutingError::RoutingError;
};

/// Which rows of the O-PID MAP the lists of a wanted routing take, beside those that the present routing uses.
class ListPlan
{
public:
    using RowSet = std::bitset<Drivers::Zeb::O_PID_MAP.rows>;
    using Rows = std::vector<uint16_t>;

    /// A list that is written to rows that no route reaches.
    struct NewList
    {
        Destinations to;
        Rows rows; ///< the first is its PIDIDX
        std::vector<Selector> users;
    };
    /// A list that is changed while its routes use it, since there are not enough rows for another.
    struct ChangedList
    {
        Destinations to;
        Rows rows;  ///< as they are linked now
        Rows extra; ///< to be linked behind them
        std::vector<Selector> users;
    };
    /// A list with a number of its own that changes.
    struct NumberedList
    {
        uint16_t number;
        Destinations to;
        Rows rows; ///< the first is the number
    };

    /// Lists that no route uses are what a plan that was broken off has left, and are used where they fit; or else only
    /// their rows are. Raises RowsRunShort.
    ListPlan(const Tables& present, const Routing& wanted, bool usesLeftLists);

    /// The PIDIDX of a wanted route's list; 0: it has none.
    uint16_t headOf(const Selector& packets) const;
    /// Whether a PIDIDX leads nowhere, and goes on to do so.
    bool staysEmpty(uint16_t head) const;

    std::vector<NewList> newLists;
    std::vector<ChangedList> changedLists;
    std::vector<NumberedList> numberedLists;
    std::size_t freeRows = 0; ///< that there were

    /// Rows in use before: those that routes lead to, and those of lists beside them.
    RowSet reachedBefore() const { return m_ReachedByRoutes | m_ReachedByLists; }

private:
    struct Entry ///< a present route's way into the O-PID MAP
    {
        Selector packets;
        uint16_t head = 0;
    };
    struct Need
    {
        Destinations to;
        std::vector<Selector> users;
    };

    void findEntries(const Tables& present);
    void findReached();
    /// All rows from a PIDIDX on, disabled ones too, each once.
    static Rows chainFrom(const ListChains& lists, uint16_t head);
    bool leadsIntoNumbered(uint16_t head) const;
    bool isUsable(uint16_t head) const;
    bool isExactly(uint16_t head, const Destinations& to) const;
    void keep(uint16_t head);
    std::vector<Need> shareLists(const Routing& wanted, bool usesLeftLists);
    void findOthersLists(std::map<Destinations, std::vector<Selector>>& missing, bool usesLeftLists);
    Destinations firstDestinations(uint16_t head, std::size_t count) const;
    std::vector<NumberedList> keepNumbered(const Routing& wanted);
    Rows freeRowsFor(std::size_t needed) const;
    void changeInPlace(std::vector<Need>& needs, std::size_t missing);
    const Entry* entryToChange(const Need& need) const;

    ListChains m_Lists;
    std::vector<Entry> m_Entries;
    std::multimap<Selector, std::size_t> m_EntriesOf;               ///< places in m_Entries
    std::array<std::size_t, Drivers::Zeb::O_PID_MAP.rows> m_Uses{}; ///< entries that lead to the row
    RowSet m_ReachedByRoutes;
    RowSet m_ReachedByLists;
    RowSet m_Numbers; ///< of wanted lists
    RowSet m_Kept;    ///< rows of lists that stay as they are
    std::map<Selector, uint16_t> m_Heads;
};

} // namespace Osl::ZebRouting
