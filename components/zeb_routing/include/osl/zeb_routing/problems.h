#pragma once

#include <osl/cpputils/error.h>

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

namespace Osl::ZebRouting {

/// What is wrong with one statement: what was found, and what is expected.
struct Problem
{
    std::size_t line; ///< from 1; 0: no line in particular
    std::string text;

    /// The only problem of a source, with no line.
    static std::vector<Problem> ofWhole(std::string text) { return {{0, std::move(text)}}; }

    bool operator==(const Problem&) const = default;
};

/// So many problems of a source are told at most.
inline constexpr std::size_t MAX_PROBLEMS = 20;

/// A source that is wrong, with each of its problems, in the order of lines.
class SourceError : public CppUtil::PrefixedError<"Routing source Error: ">
{
public:
    SourceError(std::vector<Problem> problems, const char* file, int line);

    const std::vector<Problem>& problems() const { return m_Problems; }

private:
    std::vector<Problem> m_Problems;
};

} // namespace Osl::ZebRouting
