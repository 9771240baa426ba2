#include <osl/zeb_routing/problems.h>

#include <utility>

namespace Osl::ZebRouting {
namespace {

std::string lineByLine(const std::vector<Problem>& problems)
{
    std::string text;
    for (const Problem& problem : problems) {
        if (!text.empty())
            text += '\n';
        if (problem.line != 0)
            text += std::to_string(problem.line) + ": ";
        text += problem.text;
    }
    return text;
}

} // namespace

SourceError::SourceError(std::vector<Problem> problems, const char* file, int line)
    : PrefixedError(lineByLine(problems), file, line),
      m_Problems(std::move(problems))
{
}

} // namespace Osl::ZebRouting
