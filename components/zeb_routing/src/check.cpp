#include "check_lists.h"
#include "decode.h"
#include "name_list.h"

#include <osl/zeb_routing/check.h>
#include <osl/zeb_routing/listening.h>
#include <osl/zeb_routing/translation.h>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <map>
#include <set>
#include <tuple>

namespace Osl::ZebRouting {
namespace {

constexpr const char* RARELY_FOUND = "the FPGA, which searches by bisection, may miss rows";

/// Looks at the facts.
class FactsCheck
{
public:
    FactsCheck(const Source& source, std::vector<Finding>& findings) : m_Routing(source.routing), m_Findings(findings)
    {
    }

    void outputsAndInputs()
    {
        std::map<uint8_t, NameList> users;
        for (const Route& route : m_Routing.routes)
            if (route.to.isOutput())
                users[route.to.tso()].add(toString(route.packets));
        for (const List& list : m_Routing.lists)
            users[list.to.tso()].add(fmt::format("list {}", list.pidIdx));
        std::map<uint8_t, std::vector<std::string>> outputs;
        for (const Output& output : m_Routing.outputs)
            if (output.enabled)
                outputs[output.tso].push_back(outputName(output.to));

        for (const auto& [tso, names] : users)
            if (!outputs.contains(tso))
                add("no-output", "TSO {} has no enabled output; routed there: {}", tso, names.text());
        for (const auto& [tso, names] : outputs)
            if (!users.contains(tso))
                addNote("unreached-output", "nothing is routed to TSO {}, {}", tso, fmt::join(names, ", "));
        routesWithoutInput();
    }

    void pidClashes()
    {
        struct Arrival
        {
            uint8_t tso;
            uint16_t pid; ///< ALL_PIDS: each as it is
            Selector packets;
            auto operator<=>(const Arrival&) const = default;
        };
        std::vector<Arrival> arrivals;
        std::map<uint8_t, std::vector<Selector>> wholeTsis; ///< as they are, by TSO
        for (const auto& [packets, to] : m_Routing.routes) {
            if (!to.isOutput())
                continue;
            if (packets.isWholeTsi() && !to.newPid())
                wholeTsis[to.tso()].push_back(packets);
            else
                arrivals.push_back({to.tso(), to.newPid().value_or(packets.pid), packets});
        }
        std::sort(arrivals.begin(), arrivals.end());
        arrivals.erase(std::unique(arrivals.begin(), arrivals.end()), arrivals.end());

        for (auto group = arrivals.begin(); group != arrivals.end();) {
            const auto [tso, pid, first] = *group;
            NameList names;
            for (; group != arrivals.end() && group->tso == tso && group->pid == pid; ++group)
                names.add(toString(group->packets));
            if (const auto whole = wholeTsis.find(tso); whole != wholeTsis.end())
                for (const Selector& packets : whole->second)
                    if (packets != first && !hasRoute({packets.tsi, pid}))
                        names.add(toString(packets));
            if (names.count() > 1)
                add("pid-clash", "PID 0x{:04x} of TSO {} comes from {}", pid, tso, names.text());
            else if (first.isWholeTsi())
                add("pid-clash", "PID 0x{:04x} of TSO {} comes from every PID of {}", pid, tso, toString(first));
        }
        for (const auto& [tso, whole] : wholeTsis) {
            NameList names;
            for (const Selector& packets : whole)
                names.add(toString(packets));
            if (names.count() > 1)
                add("pid-clash", "the same PIDs of TSO {} come from {}", tso, names.text());
        }
    }

    /// Copies that only the PID of the route makes equal.
    void copiesOfOnePid()
    {
        for (const auto& [packets, to] : m_Routing.routes)
            if (to.isOutput() && to.newPid() == packets.pid &&
                std::binary_search(m_Routing.routes.begin(), m_Routing.routes.end(),
                                   Route{packets, Destination::output(to.tso())}))
                add("double-copy", "{} goes to TSO {} as it is, and as PID 0x{:04x}, which is the same",
                    toString(packets), to.tso(), packets.pid);
    }

    void groups()
    {
        std::map<Endpoint, NameList> senders;
        for (const Output& output : m_Routing.outputs)
            if (output.enabled && !output.to.isPort)
                senders[output.to].add(fmt::format("TSO {}", output.tso));
        for (const auto& [group, names] : senders)
            if (names.count() > 1)
                add("same-group", "{} send to {}", names.text(), outputName(group));
        for (const Input& input : m_Routing.inputs)
            if (const auto sender = senders.find(input.from); sender != senders.end())
                add("circle", "{} is the input of TSI {} and the output of {}", inputName(input.from), input.tsi,
                    sender->second.text());
    }

    void filters()
    {
        if (!m_Routing.hasFilters)
            return;
        std::map<uint8_t, NameList> users;
        for (const auto& [packets, to] : m_Routing.routes)
            if (to.isCpu() && to.filter() != Destination::NO_FILTER)
                users[to.filter()].add(toString(packets));
        for (const Filter& filter : m_Routing.filters)
            users.erase(filter.filter);
        for (const auto& [filter, names] : users)
            add("filter-none", "filter {} is not set and lets nothing through; used by {}", filter, names.text());
    }

    void multicast()
    {
        const auto isOther = [](const Endpoint& at) { return !at.isPort && !multicastMac(at.address); };
        for (const Input& input : m_Routing.inputs)
            if (isOther(input.from))
                add("not-multicast", "{}, which feeds TSI {}, is no multicast address", inputName(input.from),
                    input.tsi);
        for (const Output& output : m_Routing.outputs)
            if (output.enabled && isOther(output.to))
                add("not-multicast", "{}, where TSO {} sends to, is no multicast address", outputName(output.to),
                    output.tso);
    }

private:
    void routesWithoutInput()
    {
        std::set<uint8_t> fed;
        for (const Input& input : m_Routing.inputs)
            fed.insert(input.tsi);
        std::map<uint8_t, NameList> users;
        for (const RouteGroup& route : groupsOf(m_Routing.routes))
            if (!fed.contains(route.packets.tsi))
                users[route.packets.tsi].add(toString(route.packets));
        for (const auto& [tsi, names] : users)
            addNote("no-input", "TSI {} has no input, unless DMA feeds it; its routes: {}", tsi, names.text());
    }

    bool hasRoute(const Selector& packets) const
    {
        const auto route = std::lower_bound(m_Routing.routes.begin(), m_Routing.routes.end(), packets,
                                            [](const Route& a, const Selector& b) { return a.packets < b; });
        return route != m_Routing.routes.end() && route->packets == packets;
    }

    template <class... Args>
    void add(const char* code, fmt::format_string<Args...> format, Args&&... args)
    {
        m_Findings.push_back({code, false, fmt::format(format, std::forward<Args>(args)...)});
    }
    template <class... Args>
    void addNote(const char* code, fmt::format_string<Args...> format, Args&&... args)
    {
        m_Findings.push_back({code, true, fmt::format(format, std::forward<Args>(args)...)});
    }

    const Routing& m_Routing;
    std::vector<Finding>& m_Findings;
};

struct KeyedRow
{
    std::string name;
    uint64_t key; ///< by which the table must be sorted
    uint32_t row;
};

void checkOrder(std::string_view table, std::vector<KeyedRow> rows, bool isGapped, std::vector<Finding>& findings)
{
    const auto before = [](const KeyedRow& a, const KeyedRow& b) { return a.key < b.key; };
    const auto misplaced = std::is_sorted_until(rows.begin(), rows.end(), before);
    if (misplaced != rows.end())
        findings.push_back({"unsorted", false,
                            fmt::format("{}: row {}, {}, belongs before row {}, {}; {}", table, misplaced->row,
                                        misplaced->name, (misplaced - 1)->row, (misplaced - 1)->name, RARELY_FOUND)});
    else if (isGapped)
        findings.push_back(
            {"unsorted", false, fmt::format("{}: there are unused rows before used ones; {}", table, RARELY_FOUND)});
    std::stable_sort(rows.begin(), rows.end(), before);
    for (std::size_t i = 1; i < rows.size(); ++i)
        if (rows[i].key == rows[i - 1].key)
            findings.push_back(
                {"doubled-row", false,
                 fmt::format("{}: rows {} and {} are both for {}", table, rows[i - 1].row, rows[i].row, rows[i].name)});
}

void checkLookUpTables(const Tables& tables, std::vector<Finding>& findings)
{
    std::vector<KeyedRow> rows;
    forEachRow(tables, PID_ROUTES, [&](uint32_t row, Words words) {
        const Selector packets = packetsOf(words);
        rows.push_back({toString(packets), uint64_t{packets.tsi} << 16 | packets.pid, row});
    });
    const auto isGapped = [&] { return !rows.empty() && rows.back().row + 1 != rows.size(); };
    checkOrder(PID_ROUTES.layout.name, rows, isGapped(), findings);
    rows.clear();
    forEachRow(tables, IP_INPUTS, [&](uint32_t row, Words words) {
        const Endpoint group = groupOfInput(words);
        rows.push_back({inputName(group), uint64_t{group.address} << 16 | group.number, row});
    });
    checkOrder(IP_INPUTS.layout.name, rows, isGapped(), findings);
}

} // namespace

std::vector<Finding> check(const Source& source)
{
    std::vector<Finding> findings;
    FactsCheck facts(source, findings);
    facts.outputsAndInputs();
    facts.pidClashes();
    facts.copiesOfOnePid();
    checkLists(source.tables, findings);
    facts.groups();
    facts.filters();
    facts.multicast();
    checkLookUpTables(source.tables, findings);
    if (withoutCopies(source.tables) != source.tables)
        findings.push_back({"scan-rows", true,
                            "there are rows of a scan; they go when it ends, or, where it was killed, with the next "
                            "scan or change"});
    return findings;
}

std::string toText(const std::vector<Finding>& findings)
{
    std::string text;
    for (const auto& [code, note, what] : findings)
        text += fmt::format("{}{}: {}\n", note ? "note " : "", code, what);
    return text;
}

std::string toJson(const std::vector<Finding>& findings)
{
    nlohmann::ordered_json json = nlohmann::ordered_json::array();
    for (const auto& [code, note, what] : findings)
        json.push_back({{"code", code}, {"note", note}, {"text", what}});
    return json.dump() + '\n';
}

} // namespace Osl::ZebRouting
