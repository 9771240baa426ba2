#pragma once

#include <osl/cpputils/error.h>

namespace Osl::Utils {

/// A failure of the shell or of one of its commands that the user is told about before the program ends.
struct ShellError : CppUtil::PrefixedError<"Shell Error: ">
{
    using PrefixedError::PrefixedError;
};

} // namespace Osl::Utils
