#include "collector.h"
#include "text_reader.h"

#include <osl/zeb_routing/patch.h>
#include <osl/zeb_routing/text.h>

#include <fmt/format.h>

#include <algorithm>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

namespace Osl::ZebRouting {
namespace {

/// A fact to be taken away, or all those of its key.
template <class Fact>
struct Removal
{
    Fact fact;
    bool wholeKey;
    uint32_t line;

    bool takes(const Fact& other) const { return wholeKey ? keyOf(fact) == keyOf(other) : fact == other; }

    static uint8_t keyOf(const Input& input) { return input.tsi; }
    static uint8_t keyOf(const Output& output) { return output.tso; }
    static uint8_t keyOf(const Filter& filter) { return filter.filter; }
    static Selector keyOf(const Route& route) { return route.packets; }
    static uint16_t keyOf(const List& list) { return list.pidIdx; }
};

template <class Fact>
using Removals = std::vector<Removal<Fact>>;

/// A statement's words without those behind its key: "route 9:0x0100".
std::string textOf(const Routing& facts, bool wholeKey)
{
    std::string text = toText(Difference{facts, {}}).substr(1);
    std::size_t end = text.find('\n');
    if (wholeKey)
        end = text.find(' ', text.find(' ') + 1);
    return text.substr(0, end);
}

} // namespace

struct Patch::Content
{
    std::tuple<Removals<Input>, Removals<Output>, Removals<Filter>, Removals<Route>, Removals<List>> removals;
    Collector added;
    std::size_t line = 0;

    /// A statement by itself is the first line.
    std::size_t place() const { return std::max<std::size_t>(line, 1); }

    template <class Fact>
    void remove(const Fact& fact, bool wholeKey)
    {
        std::get<Removals<Fact>>(removals).push_back({fact, wholeKey, static_cast<uint32_t>(place())});
    }
    void remove(const RouteStatement& route, bool wholeKey)
    {
        for (const Destination to : route.to)
            remove(Route{route.packets, to}, false);
        if (wholeKey)
            remove(Route{route.packets}, true);
    }
    void remove(const ListStatement& list, bool wholeKey)
    {
        for (const Destination to : list.to)
            remove(List{list.pidIdx, to}, false);
        if (wholeKey)
            remove(List{list.pidIdx}, true);
    }

    template <class Work>
    void guarded(const Work& work)
    {
        try {
            work();
        } catch (const Fault& fault) {
            added.addProblem(place(), fault.text);
        }
    }
};

Patch::Patch() : m_Content(std::make_unique<Content>()) {}
Patch::~Patch() = default;
Patch::Patch(Patch&&) noexcept = default;

void Patch::addLine(std::string_view line)
{
    ++m_Content->line;
    line.remove_prefix(std::min(line.find_first_not_of(" \t\r"), line.size()));
    if (line.empty() || line.front() == '#')
        return;
    const char sign = line.front();
    if (sign == '-')
        remove(line.substr(1));
    else if (sign == '+')
        add(line.substr(1));
    else
        m_Content->added.addProblem(m_Content->line,
                                    fmt::format("expected \"-\" or \"+\" and a statement, found {}", inQuotes(line)));
}

void Patch::add(std::string_view statement)
{
    m_Content->guarded([&] { m_Content->added.add(readOneStatement(statement), m_Content->place()); });
}

void Patch::remove(std::string_view statement)
{
    m_Content->guarded([&] {
        const auto [parsed, isKeyOnly] = readRemoval(statement);
        std::visit([&, whole = isKeyOnly](const auto& facts) { m_Content->remove(facts, whole); }, parsed);
    });
}

bool Patch::takesMore() const { return m_Content->added.takesMore(); }

Routing Patch::applyTo(Routing routing)
{
    Collector all = std::move(m_Content->added);
    forEachKind([&](auto kind) {
        auto& facts = routing.*kind;
        using Fact = typename std::decay_t<decltype(facts)>::value_type;
        std::vector<bool> goes(facts.size());
        for (const Removal<Fact>& removal : std::get<Removals<Fact>>(m_Content->removals)) {
            // Facts of one key stand side by side, the key first.
            auto at = std::lower_bound(facts.begin(), facts.end(), removal.fact, [](const Fact& a, const Fact& b) {
                return Removal<Fact>::keyOf(a) < Removal<Fact>::keyOf(b);
            });
            bool any = false;
            for (; at != facts.end() && Removal<Fact>::keyOf(*at) == Removal<Fact>::keyOf(removal.fact); ++at) {
                if (!removal.takes(*at))
                    continue;
                any = true;
                goes[static_cast<std::size_t>(at - facts.begin())] = true;
            }
            if (any)
                continue;
            Routing missing;
            (missing.*kind).push_back(removal.fact);
            all.addProblem(removal.line,
                           fmt::format("{} cannot be taken away: it is not there", textOf(missing, removal.wholeKey)));
        }
        std::size_t index = 0;
        std::erase_if(facts, [&](const Fact&) { return goes[index++]; });
    });
    all.addFacts(routing);
    const bool hasFilters = routing.hasFilters;
    routing = all.finish();
    routing.hasFilters = hasFilters;
    return routing;
}

} // namespace Osl::ZebRouting
