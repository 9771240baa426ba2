#include "collector.h"

#include <fmt/format.h>

#include <algorithm>
#include <tuple>
#include <type_traits>
#include <utility>

namespace Osl::ZebRouting {
namespace {

/// A million lines may contradict one another; that is no reason to keep as many texts.
constexpr std::size_t KEPT_PROBLEMS = 1000;

std::string subjectOf(const Input& input) { return inputName(input.from); }
std::string subjectOf(const Output& output) { return fmt::format("TSO {}", output.tso); }
std::string subjectOf(const Filter& filter) { return fmt::format("filter {}", filter.filter); }
std::string subjectOf(const Route& route) { return "route " + toString(route.packets); }

template <class Located>
auto factsAlone(const std::vector<Located>& located)
{
    std::vector<decltype(Located::fact)> facts;
    facts.reserve(located.size());
    for (const Located& element : located)
        facts.push_back(element.fact);
    return facts;
}

} // namespace

void Collector::add(const Statement& statement, std::size_t line)
{
    if (const auto* input = std::get_if<Input>(&statement))
        m_Inputs.push_back({*input, line});
    else if (const auto* output = std::get_if<Output>(&statement))
        m_Outputs.push_back({*output, line});
    else if (const auto* filter = std::get_if<Filter>(&statement))
        m_Filters.push_back({*filter, line});
    else if (const auto* route = std::get_if<RouteStatement>(&statement))
        for (const Destination to : route->to)
            m_Routes.push_back({{route->packets, to}, line});
    else if (const auto* list = std::get_if<ListStatement>(&statement))
        for (const Destination to : list->to)
            m_Lists.push_back({{list->pidIdx, to}, line});
    // However often the same is said, it is kept once.
    if (m_Routes.size() + m_Lists.size() > m_DestinationsToSort) {
        sortOut(m_Routes);
        sortOut(m_Lists);
        m_DestinationsToSort = std::max(m_DestinationsToSort, 2 * (m_Routes.size() + m_Lists.size()));
    }
}

void Collector::addProblem(std::size_t line, std::string text)
{
    m_Problems.push_back({line, std::move(text)});
    if (m_Problems.size() > KEPT_PROBLEMS)
        trimProblems();
}

/// Leaves those of the first lines. A route that is dropped may contradict several others of one line in the same way.
void Collector::trimProblems()
{
    std::stable_sort(m_Problems.begin(), m_Problems.end(),
                     [](const Problem& a, const Problem& b) { return a.line < b.line; });
    m_Problems.erase(std::unique(m_Problems.begin(), m_Problems.end()), m_Problems.end());
    if (m_Problems.size() > MAX_PROBLEMS)
        m_Problems.resize(MAX_PROBLEMS);
}

/// Of the same fact in several lines the first counts.
template <class Fact>
void Collector::sortOut(std::vector<Located<Fact>>& facts)
{
    const auto place = [](const Located<Fact>& located) { return std::tie(located.fact, located.line); };
    std::sort(facts.begin(), facts.end(), [&](const auto& a, const auto& b) { return place(a) < place(b); });
    const auto same = [](const auto& a, const auto& b) { return a.fact == b.fact; };
    facts.erase(std::unique(facts.begin(), facts.end(), same), facts.end());
}

template <class Fact, class Key>
void Collector::findContradictions(std::vector<Located<Fact>> facts, const Key& key, std::string_view rule)
{
    const auto place = [&key](const Located<Fact>& located) { return std::tuple(key(located.fact), located.line); };
    std::sort(facts.begin(), facts.end(), [&](const auto& a, const auto& b) { return place(a) < place(b); });
    std::size_t first = 0;
    for (std::size_t i = 1; i < facts.size(); ++i) {
        if (key(facts[i].fact) != key(facts[first].fact))
            first = i;
        else
            contradict(subjectOf(facts[i].fact), facts[i].line, facts[first].line, rule);
    }
}

void Collector::findContradictingRoutes()
{
    std::vector<Located<Route>> toCpu;
    const Located<Route>* drop = nullptr;
    for (auto route = m_Routes.rbegin(); route != m_Routes.rend(); ++route) { // `drop` comes last
        if (route->fact.to.isCpu())
            toCpu.push_back(*route);
        if (route->fact.to.isDrop())
            drop = &*route;
        else if (drop != nullptr && drop->fact.packets == route->fact.packets)
            contradict(subjectOf(route->fact), std::max(drop->line, route->line), std::min(drop->line, route->line),
                       "what is dropped goes nowhere else");
    }
    findContradictions(
        std::move(toCpu), [](const Route& route) { return route.packets; },
        "a route goes to the processor through one filter only");
}

void Collector::contradict(const std::string& subject, std::size_t line, std::size_t other, std::string_view rule)
{
    if (other == 0)
        addProblem(line, fmt::format("{}: contradicts what is there and stays; {}", subject, rule));
    else
        addProblem(line, line == other ? fmt::format("{}: the line contradicts itself; {}", subject, rule)
                                       : fmt::format("{}: contradicts line {}; {}", subject, other, rule));
}

void Collector::addFacts(const Routing& facts)
{
    const auto append = [](auto& to, const auto& from) {
        for (const auto& fact : from)
            to.push_back({fact, 0});
    };
    append(m_Inputs, facts.inputs);
    append(m_Outputs, facts.outputs);
    append(m_Filters, facts.filters);
    append(m_Routes, facts.routes);
    append(m_Lists, facts.lists);
}

Routing Collector::finish()
{
    sortOut(m_Inputs);
    sortOut(m_Outputs);
    sortOut(m_Filters);
    sortOut(m_Routes);
    sortOut(m_Lists);
    findContradictions(
        m_Inputs, [](const Input& input) { return input.from; }, "a port or a group feeds one TSI only");
    findContradictions(
        m_Outputs, [](const Output& output) { return std::tuple(output.tso, output.to.isPort); },
        "a TSO goes to one address and to one port only");
    findContradictions(
        m_Filters, [](const Filter& filter) { return filter.filter; }, "a filter has one value only");
    findContradictingRoutes();
    if (!m_Problems.empty()) {
        trimProblems();
        OSL_RAISE(SourceError, std::move(m_Problems));
    }
    return {.inputs = factsAlone(m_Inputs),
            .outputs = factsAlone(m_Outputs),
            .filters = factsAlone(m_Filters),
            .routes = factsAlone(m_Routes),
            .lists = factsAlone(m_Lists)};
}

} // namespace Osl::ZebRouting
