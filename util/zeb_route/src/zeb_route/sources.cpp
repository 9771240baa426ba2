#include "zeb_route/sources.h"

#include "zeb_route/board.h"

#include <osl/linutils/interruptible.h>
#include <osl/linutils/raii_filedescriptors.h>
#include <osl/linutils/stream_buffers.h>
#include <osl/linutils/whole_file.h>

#include <fmt/format.h>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <istream>
#include <string_view>
#include <unistd.h>
#include <utility>
#include <vector>

namespace Osl::ZebRoute {
namespace {

/// Far more than the longest routing in words.
constexpr std::size_t MAX_SOURCE_BYTES = std::size_t{64} << 20;
/// Far more than the longest statement.
constexpr std::size_t MAX_LINE_BYTES = std::size_t{1} << 20;

} // namespace

NamedSourceError::NamedSourceError(std::string name, const ZebRouting::SourceError& error, const char* file, int line)
    : PrefixedError(name + ": " + error.what(), file, line)
{
    for (const ZebRouting::Problem& problem : error.problems())
        m_Lines.push_back(problem.line == 0 ? fmt::format("{}: {}", name, problem.text)
                                            : fmt::format("{}:{}: {}", name, problem.line, problem.text));
}

LinuxCppUtil::UniqueFD openToRead(const std::string& name)
{
    const int descriptor = name == STANDARD_INPUT ? ::fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1)
                                                  : LinuxCppUtil::Interruptible::open(name, O_RDONLY);
    if (descriptor == -1)
        OSL_RAISE(CppUtil::FileSystemError, fmt::format("Unable to open file \"{}\": {}", name, std::strerror(errno)));
    return LinuxCppUtil::ownFD(descriptor);
}

std::string spokenName(const std::string& name) { return name == STANDARD_INPUT ? "standard input" : name; }

void forEachLine(const std::string& name, const std::function<bool(std::string_view)>& visit)
{
    const LinuxCppUtil::UniqueFD file = openToRead(name);
    LinuxCppUtil::InputBuffer buffer(*file, spokenName(name));
    std::istream in(&buffer);
    in.exceptions(std::ios::badbit); // a failed read is not the end of the input
    std::vector<char> line(MAX_LINE_BYTES);
    while (in.getline(line.data(), static_cast<std::streamsize>(line.size())))
        if (!visit(line.data()))
            return;
    if (!in.eof())
        OSL_RAISE(CppUtil::IOError, fmt::format("{}: a line is longer than any statement", name));
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
