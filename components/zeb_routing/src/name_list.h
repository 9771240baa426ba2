#pragma once

#include <fmt/format.h>

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

namespace Osl::ZebRouting {

/// Names of which a text gives the first few only.
class NameList
{
public:
    void add(std::string name)
    {
        if (m_Count++ < SHOWN)
            m_Names.push_back(std::move(name));
    }
    std::size_t count() const { return m_Count; }
    /// "a", "a and b", "a, b, c and 5 more"
    std::string text() const
    {
        if (m_Count > SHOWN)
            return fmt::format("{} and {} more", fmt::join(m_Names, ", "), m_Count - SHOWN);
        if (m_Count < 2)
            return fmt::format("{}", fmt::join(m_Names, ""));
        return fmt::format("{} and {}", fmt::join(m_Names.begin(), m_Names.end() - 1, ", "), m_Names.back());
    }

private:
    static constexpr std::size_t SHOWN = 4;

    std::vector<std::string> m_Names;
    std::size_t m_Count = 0;
};

} // namespace Osl::ZebRouting
