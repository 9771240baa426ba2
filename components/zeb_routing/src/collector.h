#pragma once

#include "statement.h"

#include <osl/zeb_routing/problems.h>

#include <string>
#include <vector>

namespace Osl::ZebRouting {

/// Puts statements together to a routing, and tells which of them contradict one another.
class Collector
{
public:
    void add(const Statement& statement, std::size_t line);
    /// Facts of no line, which are there already.
    void addFacts(const Routing& facts);
    void addProblem(std::size_t line, std::string text);
    /// Whether there is room for another problem.
    bool takesMore() const { return m_Problems.size() < MAX_PROBLEMS; }

    /// The facts. Raises SourceError when anything was wrong, contradictions included.
    Routing finish();

private:
    template <class Fact>
    struct Located
    {
        Fact fact;
        std::size_t line;
    };

    template <class Fact>
    static void sortOut(std::vector<Located<Fact>>& facts);
    /// Reports each fact after the first of those that have the same key, of which there can be one only.
    template <class Fact, class Key>
    void findContradictions(std::vector<Located<Fact>> facts, const Key& key, std::string_view rule);
    void findContradictingRoutes();
    void trimProblems();
    void contradict(const std::string& subject, std::size_t line, std::size_t other, std::string_view rule);

    std::vector<Located<Input>> m_Inputs;
    std::vector<Located<Output>> m_Outputs;
    std::vector<Located<Filter>> m_Filters;
    std::vector<Located<Route>> m_Routes;
    std::vector<Located<List>> m_Lists;
    std::size_t m_DestinationsToSort = std::size_t{1} << 20;
    std::vector<Problem> m_Problems;
};

} // namespace Osl::ZebRouting
