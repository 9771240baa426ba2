#pragma once

#include <list>
#include <string>

namespace Osl::Utils {

/// A line of the interactive shell, split at blanks into a command name and its arguments. An argument in double quotes
/// may hold blanks or nothing; there is no escape character. Only the blank separates, and a quote counts only where
/// an argument starts.
class ParsedShellCmd
{
public:
    /// Raises CppUtil::ParsingError for an empty line, an unterminated quote, and a last argument of one unquoted
    /// character with nothing behind it: typed lines that end so are taken for cut off. A blank behind it helps.
    explicit ParsedShellCmd(const std::string& line);
    virtual ~ParsedShellCmd() = default;

    const std::string& getName() const { return m_Name; }
    const std::list<std::string>& getArguments() const { return m_Arguments; }
    const std::string& getRawLine() const { return m_RawLine; }

private:
    std::string m_RawLine;
    std::string m_Name;
    std::list<std::string> m_Arguments;
};

} // namespace Osl::Utils
