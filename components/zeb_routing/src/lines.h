#pragma once

#include <fmt/format.h>

#include <iterator>
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
        fmt::format_to(std::back_inserter(m_Text), format, std::forward<Args>(args)...);
    }
    template <class... Args>
    void end(fmt::format_string<Args...> format, Args&&... args)
    {
        append(format, std::forward<Args>(args)...);
        m_Text.push_back('\n');
    }

    std::string text() const { return fmt::to_string(m_Text); }

private:
    fmt::memory_buffer m_Text;
};

} // namespace Osl::ZebRouting
