#pragma once

#include <osl/zeb_routing/facts.h>

#include <fmt/format.h>

#include <algorithm>
#include <string>
#include <vector>

/// What steps of a plan say of rows and routes.
namespace Osl::ZebRouting {

/// "1 row", "2 rows"
inline std::string countText(std::size_t count, const char* noun)
{
    return fmt::format("{} {}{}", count, noun, count == 1 ? "" : "s");
}

/// "1 row changes", "2 rows change"
inline std::string changesText(std::size_t rows)
{
    return fmt::format("{} change{}", countText(rows, "row"), rows == 1 ? "s" : "");
}

/// "9:0x0100, 9:0x0101 and 3 more"
inline std::string usersText(const std::vector<Selector>& users)
{
    constexpr std::size_t NAMED = 3;
    std::vector<std::string> names;
    for (std::size_t i = 0; i < std::min(users.size(), NAMED); ++i)
        names.push_back(toString(users[i]));
    std::string text = fmt::format("{}", fmt::join(names, ", "));
    if (users.size() > NAMED)
        text += fmt::format(" and {} more", users.size() - NAMED);
    return text;
}

} // namespace Osl::ZebRouting
