#include "zeb_route/sources.h"

#include "zeb_route/board.h"

#include <osl/linutils/whole_file.h>

#include <fmt/format.h>

#include <string_view>
#include <utility>

namespace Osl::ZebRoute {
namespace {

/// Far more than the longest routing in words.
constexpr std::size_t MAX_SOURCE_BYTES = std::size_t{64} << 20;

} // namespace

NamedSourceError::NamedSourceError(std::string name, const ZebRouting::SourceError& error, const char* file, int line)
    : PrefixedError(name + ": " + error.what(), file, line)
{
    for (const ZebRouting::Problem& problem : error.problems())
        m_Lines.push_back(problem.line == 0 ? fmt::format("{}: {}", name, problem.text)
                                            : fmt::format("{}:{}: {}", name, problem.line, problem.text));
}

ZebRouting::Source readSource(const std::string& name)
{
    if (name == LIVE)
        return Board().read();
    const std::vector<uint8_t> bytes =
        LinuxCppUtil::readWholeFile(name == STANDARD_INPUT ? "/dev/stdin" : name, MAX_SOURCE_BYTES);
    try {
        return ZebRouting::parseSource({reinterpret_cast<const char*>(bytes.data()), bytes.size()});
    } catch (const ZebRouting::SourceError& error) {
        throw NamedSourceError(name, error, __FILE__, __LINE__);
    }
}

} // namespace Osl::ZebRoute
