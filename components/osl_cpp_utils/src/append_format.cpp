#include <osl/cpputils/append_format.h>

#include <iterator>

namespace Osl::CppUtil {

void vappendFormat(std::string& text, fmt::string_view format, fmt::format_args args)
{
    fmt::vformat_to(std::back_inserter(text), format, args);
}

} // namespace Osl::CppUtil
