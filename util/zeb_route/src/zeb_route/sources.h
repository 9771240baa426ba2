#pragma once

#include "zeb_route/command.h"

#include <osl/linutils/raii_filedescriptors.h>
#include <osl/zeb_routing/problems.h>
#include <osl/zeb_routing/source.h>

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace Osl::ZebRoute {

/// The word for the board itself.
inline constexpr const char* LIVE = "live";
/// The word for standard input.
inline constexpr const char* STANDARD_INPUT = "-";

/// What is wrong with a source, and which it is.
class NamedSourceError : public CppUtil::PrefixedError<"Routing source Error: ">
{
public:
    /// `name` as the user gave it.
    NamedSourceError(std::string name, const ZebRouting::SourceError& error, const char* file, int line);

    /// "FILE:LINE: text", a problem an element.
    const std::vector<std::string>& lines() const { return m_Lines; }

private:
    std::vector<std::string> m_Lines;
};

/// Opens a file, or standard input by its word. Raises CppUtil::FileSystemError.
LinuxCppUtil::UniqueFD openToRead(const std::string& name);
/// What messages call it.
std::string spokenName(const std::string& name);

/// Hands `visit` the lines of a file or of standard input without their ends, one after the other as they come, until
/// it answers false. Raises CppUtil::IOError, also for a line that is longer than any statement.
void forEachLine(const std::string& name, const std::function<bool(std::string_view)>& visit);

/// Reads a source by its name: the devices of the board, a file, or standard input. Raises NamedSourceError for one
/// that is wrong; errors of files and devices pass through.
ZebRouting::Source readSource(const std::string& name);

} // namespace Osl::ZebRoute
