#pragma once

#include <fmt/format.h>

#include <string>
#include <utility>

namespace Osl::CppUtil {

void vappendFormat(std::string& text, fmt::string_view format, fmt::format_args args);

/// Formats to the end of `text`. (fmt::format_to would have each source that uses it compile all of the library.)
template <class... Args>
void appendFormat(std::string& text, fmt::format_string<Args...> format, Args&&... args)
{
    vappendFormat(text, format, fmt::make_format_args(args...));
}

} // namespace Osl::CppUtil
