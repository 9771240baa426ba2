#include "list_plan.h"

#include "decode.h"
#include "plan_text.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>

namespace Osl::ZebRouting {

using Drivers::Zeb::O_PID_MAP;

ListPlan::ListPlan(const Tables& present, const Routing& wanted, bool usesLeftLists) : m_Lists(present)
{
    for (const List& list : wanted.lists)
        m_Numbers.set(list.pidIdx);
    findEntries(present);
    findReached();

    std::vector<Need> needs = shareLists(wanted, usesLeftLists);
    std::vector<NumberedList> numbered = keepNumbered(wanted);

    std::size_t needed = 0;
    for (const Need& need : needs)
        needed += need.to.size();
    for (const NumberedList& list : numbered)
        needed += list.to.size() - 1;
    const Rows free = freeRowsFor(needed);
    freeRows = free.size();
    if (needed > free.size())
        changeInPlace(needs, needed - free.size());

    auto next = free.begin();
    const auto take = [&](Rows& rows, std::size_t count) {
        const auto from = next;
        next += static_cast<std::ptrdiff_t>(count);
        rows.insert(rows.end(), from, next);
    };
    for (NumberedList& list : numbered)
        take(list.rows, list.to.size() - 1);
    for (ChangedList& list : changedLists)
        take(list.extra, list.to.size() > list.rows.size() ? list.to.size() - list.rows.size() : 0);
    for (Need& need : needs) {
        NewList list{std::move(need.to), {}, std::move(need.users)};
        take(list.rows, list.to.size());
        for (const Selector& user : list.users)
            m_Heads[user] = list.rows.front();
        newLists.push_back(std::move(list));
    }
    numberedLists = std::move(numbered);
}

uint16_t ListPlan::headOf(const Selector& packets) const
{
    const auto found = m_Heads.find(packets);
    return found == m_Heads.end() ? 0 : found->second;
}

bool ListPlan::leadsIntoNumbered(uint16_t head) const
{
    const Rows chain = chainFrom(m_Lists, head);
    return std::any_of(chain.begin(), chain.end(), [this](uint16_t row) { return m_Numbers[row]; });
}

bool ListPlan::staysEmpty(uint16_t head) const
{
    return m_Lists.rowsFrom(head).empty() && !m_Lists.loops(head) && !leadsIntoNumbered(head);
}

ListPlan::Rows ListPlan::chainFrom(const ListChains& lists, uint16_t head)
{
    Rows rows;
    RowSet seen;
    for (uint16_t row = head; row != 0 && !seen[row]; row = lists.next(row)) {
        seen.set(row);
        rows.push_back(row);
    }
    return rows;
}

void ListPlan::findEntries(const Tables& present)
{
    forEachRow(present, PID_ROUTES, [this](uint32_t, Words words) {
        if (isOutRoute(words))
            m_Entries.push_back({packetsOf(words), listOf(words)});
    });
    forEachRow(present, TSI_ROUTES, [this](uint32_t tsi, Words words) {
        m_Entries.push_back({{static_cast<uint8_t>(tsi), Selector::ALL_PIDS}, listOfTsi(words)});
    });
}

void ListPlan::findReached()
{
    const auto reach = [this](RowSet& reached, uint16_t row) {
        for (; row != 0 && !reached[row]; row = m_Lists.next(row))
            reached.set(row);
    };
    for (std::size_t i = 0; i < m_Entries.size(); ++i) {
        m_EntriesOf.emplace(m_Entries[i].packets, i);
        for (const uint16_t row : chainFrom(m_Lists, m_Entries[i].head)) {
            m_ReachedByRoutes.set(row);
            ++m_Uses[row];
        }
    }
    for (uint32_t row = O_PID_MAP.firstRow; row < O_PID_MAP.rows; ++row)
        if (m_Lists.isEnabled(static_cast<uint16_t>(row)) && !m_ReachedByRoutes[row])
            reach(m_ReachedByLists, static_cast<uint16_t>(row));
}

/// Whether routes may go on to use, or share, the list: it comes to an end, and leads into none with a wanted number.
bool ListPlan::isUsable(uint16_t head) const { return head != 0 && !m_Lists.loops(head) && !leadsIntoNumbered(head); }

/// Whether the list leads to each of the destinations once, and nowhere else.
bool ListPlan::isExactly(uint16_t head, const Destinations& to) const
{
    Destinations found;
    for (const uint16_t row : m_Lists.rowsFrom(head))
        found.push_back(m_Lists.destination(row));
    std::sort(found.begin(), found.end());
    return found == to;
}

void ListPlan::keep(uint16_t head)
{
    for (const uint16_t row : chainFrom(m_Lists, head))
        m_Kept.set(row);
}

/// Gives every route the list that it has, or one with the same destinations; answers what is missing.
std::vector<ListPlan::Need> ListPlan::shareLists(const Routing& wanted, bool usesLeftLists)
{
    std::map<Selector, uint16_t> entries;
    for (const Entry& entry : m_Entries)
        entries.emplace(entry.packets, entry.head);
    const std::vector<RouteGroup> routes = groupsOf(wanted.routes);
    std::map<Destinations, uint16_t> known;
    for (const RouteGroup& route : routes) {
        const auto entry = entries.find(route.packets);
        if (route.outputs.empty() || entry == entries.end() || !isUsable(entry->second) ||
            !isExactly(entry->second, route.outputs))
            continue;
        m_Heads[route.packets] = entry->second;
        known.emplace(route.outputs, entry->second);
    }
    std::map<Destinations, std::vector<Selector>> missing;
    for (const RouteGroup& route : routes) {
        if (route.outputs.empty() || m_Heads.contains(route.packets))
            continue;
        if (const auto found = known.find(route.outputs); found != known.end())
            m_Heads[route.packets] = found->second;
        else
            missing[route.outputs].push_back(route.packets);
    }
    findOthersLists(missing, usesLeftLists);
    for (const auto& [packets, head] : m_Heads)
        keep(head);
    std::vector<Need> needs;
    for (auto& [to, users] : missing)
        needs.push_back({to, std::move(users)});
    std::sort(needs.begin(), needs.end(), [](const Need& a, const Need& b) { return a.users < b.users; });
    return needs;
}

/// Takes what is missing from lists that other routes have or had, or that no route has.
void ListPlan::findOthersLists(std::map<Destinations, std::vector<Selector>>& missing, bool usesLeftLists)
{
    RowSet candidates;
    for (const Entry& entry : m_Entries)
        candidates.set(entry.head);
    if (usesLeftLists) // any row may be the first: what another list leads into is no head of its own
        candidates |= m_ReachedByLists & ~m_ReachedByRoutes;
    std::size_t longest = 0;
    for (const auto& [to, users] : missing)
        longest = std::max(longest, to.size());
    for (uint32_t row = O_PID_MAP.firstRow; row < O_PID_MAP.rows && !missing.empty(); ++row) {
        const auto head = static_cast<uint16_t>(row);
        if (!candidates[row])
            continue;
        const auto found = missing.find(firstDestinations(head, longest + 1));
        if (found == missing.end() || !isUsable(head))
            continue;
        for (const Selector& user : found->second)
            m_Heads[user] = head;
        missing.erase(found);
    }
}

/// Where the first rows of a list lead; a look at all of each list would take too long.
Destinations ListPlan::firstDestinations(uint16_t head, std::size_t count) const
{
    Destinations to;
    uint32_t steps = 0;
    for (uint16_t row = head; row != 0 && to.size() < count && steps < O_PID_MAP.rows; row = m_Lists.next(row), ++steps)
        if (m_Lists.isEnabled(row))
            to.push_back(m_Lists.destination(row));
    std::sort(to.begin(), to.end());
    return to;
}

/// Keeps the wanted lists with numbers that are there; answers the others, with their number alone as their rows.
std::vector<ListPlan::NumberedList> ListPlan::keepNumbered(const Routing& wanted)
{
    std::vector<NumberedList> others;
    for (const auto& [number, to] : groupsOf(wanted.lists)) {
        const Rows chain = chainFrom(m_Lists, number);
        const bool leadsIntoAnother =
            std::any_of(chain.begin() + 1, chain.end(), [this](uint16_t row) { return m_Numbers[row]; });
        if (m_Lists.isEnabled(number) && !m_Lists.loops(number) && !leadsIntoAnother && isExactly(number, to))
            keep(number);
        else
            others.push_back({number, to, {number}});
    }
    return others;
}

/// Rows that nobody uses; when there are not enough, those of lists with numbers that go away or change, too.
ListPlan::Rows ListPlan::freeRowsFor(std::size_t needed) const
{
    Rows rows;
    for (const bool ofLists : {false, true}) {
        for (uint32_t row = O_PID_MAP.firstRow; row < O_PID_MAP.rows && (!ofLists || rows.size() < needed); ++row)
            if (!m_ReachedByRoutes[row] && !m_Numbers[row] && !m_Kept[row] && m_ReachedByLists[row] == ofLists)
                rows.push_back(static_cast<uint16_t>(row));
    }
    return rows;
}

/// The present list of one of the users whose rows lead no packets but the users' anywhere; null: there is none.
const ListPlan::Entry* ListPlan::entryToChange(const Need& need) const
{
    // The lists of whole TSIs change at another time than those of single PIDs.
    const auto isWholeTsi = [](const Selector& user) { return user.isWholeTsi(); };
    if (std::any_of(need.users.begin(), need.users.end(), isWholeTsi) &&
        !std::all_of(need.users.begin(), need.users.end(), isWholeTsi))
        return nullptr;
    std::vector<const Entry*> entries;
    std::map<uint16_t, std::size_t> usesOfUsers;
    for (const Selector& user : need.users) {
        const auto [first, last] = m_EntriesOf.equal_range(user);
        for (auto at = first; at != last; ++at) {
            entries.push_back(&m_Entries[at->second]);
            for (const uint16_t row : chainFrom(m_Lists, entries.back()->head))
                ++usesOfUsers[row];
        }
    }
    const auto isOthersToo = [&](uint16_t row) {
        return m_Kept[row] || m_ReachedByLists[row] || m_Uses[row] != usesOfUsers[row];
    };
    for (const Entry* const entry : entries) {
        const Rows chain = chainFrom(m_Lists, entry->head);
        if (isUsable(entry->head) && std::none_of(chain.begin(), chain.end(), isOthersToo))
            return entry;
    }
    return nullptr;
}

/// Takes so many of the needs, the largest savings first, that the others find room.
void ListPlan::changeInPlace(std::vector<Need>& needs, std::size_t missing)
{
    struct Saving
    {
        std::size_t need;
        std::size_t rows;
        Rows chain;
    };
    std::vector<Saving> savings;
    for (std::size_t i = 0; i < needs.size(); ++i) {
        if (const Entry* const entry = entryToChange(needs[i]); entry != nullptr) {
            Rows chain = chainFrom(m_Lists, entry->head);
            savings.push_back({i, std::min(chain.size(), needs[i].to.size()), std::move(chain)});
        }
    }
    std::stable_sort(savings.begin(), savings.end(), [](const Saving& a, const Saving& b) { return a.rows > b.rows; });
    std::size_t saved = 0;
    std::vector<std::size_t> done;
    for (Saving& saving : savings) {
        if (saved >= missing)
            break;
        saved += saving.rows;
        done.push_back(saving.need);
        Need& need = needs[saving.need];
        for (const Selector& user : need.users)
            m_Heads[user] = saving.chain.front();
        changedLists.push_back({std::move(need.to), std::move(saving.chain), {}, std::move(need.users)});
    }
    if (saved < missing)
        OSL_RAISE(RowsRunShort, fmt::format("the {} has {}, but {} more are needed before others come free",
                                            O_PID_MAP.name, countText(freeRows, "free row"), missing - saved));
    std::sort(done.rbegin(), done.rend());
    for (const std::size_t index : done)
        needs.erase(needs.begin() + static_cast<std::ptrdiff_t>(index));
}

} // namespace Osl::ZebRouting
