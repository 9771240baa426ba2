#pragma once

#include <osl/cpputils/append_format.h>

#include <string>
#include <utility>

namespace Osl::ZebRouting {

/// A text that grows by lines.
class Lines
{
public:
    /// A whole line.
    template <class... Args>
    void add(fmt::format_string<Args...> format, Args&&... args)
    {
        end(format, std::forward<Args>(args)...);
    }
    // A line in pieces.
    template <class... Args>
    void append(fmt::format_string<Args...> format, Args&&... args)
    {
        CppUtil::appendFormat(m_Text, format, std::forward<Args>(args)...);
    }
    template <class... Args>
    void end(fmt::format_string<Args...> format, Args&&... args)
    {
        append(format, std::forward<Args>(args)...);
        m_Text.push_back('\n');
    }

    const std::string& text() const { return m_Text; }

private:
    std::string m_Text;
};

} // namespace Osl::ZebRouting
