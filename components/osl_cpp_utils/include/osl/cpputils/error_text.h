#pragma once

#include <string_view>

namespace Osl::CppUtil {

/// The text of an error without the place in the source code, which says nothing to an engineer.
inline std::string_view withoutPlace(std::string_view text)
{
    const std::size_t at = text.rfind('(');
    return text.ends_with(')') && at != std::string_view::npos && text.find(':', at) != std::string_view::npos
               ? text.substr(0, at)
               : text;
}

} // namespace Osl::CppUtil
