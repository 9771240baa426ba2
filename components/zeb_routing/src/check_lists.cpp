#include "check_lists.h"

#include "decode.h"
#include "list_map.h"
#include "name_list.h"

#include <algorithm>
#include <map>

namespace Osl::ZebRouting {
namespace {

/// Who uses each list, by its PIDIDX.
std::map<uint16_t, NameList> usersOf(const Tables& tables, const ListMap& lists)
{
    std::map<uint16_t, NameList> users;
    forEachRow(tables, PID_ROUTES, [&](uint32_t, Words words) {
        if (isOutRoute(words))
            users[listOf(words)].add(toString(packetsOf(words)));
    });
    forEachRow(tables, TSI_ROUTES, [&](uint32_t tsi, Words words) {
        users[listOfTsi(words)].add(toString(Selector{static_cast<uint8_t>(tsi), Selector::ALL_PIDS}));
    });
    for (const uint16_t head : lists.headsBeside(listEntries(tables)))
        users[head].add("nothing in the tables");
    return users;
}

/// Destinations to which more than one row leads.
std::vector<Destination> doublesIn(const ListMap& lists, const std::vector<uint16_t>& rows)
{
    std::vector<Destination> all;
    for (const uint16_t row : rows)
        all.push_back(lists.destination(row));
    std::sort(all.begin(), all.end());
    std::vector<Destination> doubles;
    for (std::size_t i = 1; i < all.size(); ++i)
        if (all[i] == all[i - 1] && (doubles.empty() || doubles.back() != all[i]))
            doubles.push_back(all[i]);
    return doubles;
}

std::string nameOf(Destination to)
{
    return to.newPid() ? fmt::format("TSO {} as PID 0x{:04x}", to.tso(), *to.newPid())
                       : fmt::format("TSO {}", to.tso());
}

} // namespace

void checkLists(const Tables& tables, std::vector<Finding>& findings)
{
    const ListMap lists(tables);
    const auto users = usersOf(tables, lists);
    std::vector<Finding> loops;
    std::vector<Finding> empty;
    for (const auto& [pidIdx, names] : users) {
        const std::vector<uint16_t> rows = lists.rowsFrom(pidIdx);
        const std::string list = fmt::format("the list from PIDIDX {}, used by {},", pidIdx, names.text());
        NameList doubles;
        for (const Destination to : doublesIn(lists, rows))
            doubles.add(nameOf(to));
        if (doubles.count() != 0)
            findings.push_back({"double-copy", false, fmt::format("{} leads twice to {}", list, doubles.text())});
        if (lists.loops(pidIdx))
            loops.push_back({"list-loop", false, list + " comes back to one of its rows"});
        if (rows.empty())
            empty.push_back({"list-empty", false, list + " has no enabled row"});
    }
    findings.insert(findings.end(), loops.begin(), loops.end());
    findings.insert(findings.end(), empty.begin(), empty.end());
}

} // namespace Osl::ZebRouting
