#pragma once

#include <osl/cpputils/error.h>

#include <memory>
#include <string>

namespace Osl::LinuxCppUtil {

struct FileDescriptorError : CppUtil::PrefixedError<"File descriptor Error: ">
{
    using PrefixedError::PrefixedError;
};

struct FDCloser
{
    void operator()(int* descriptor) const noexcept;
};

/// Owns an open file descriptor and closes it on destruction.
using UniqueFD = std::unique_ptr<int, FDCloser>;

/// Takes over the open `descriptor`.
UniqueFD ownFD(int descriptor);

/// Opens `path` with `flags` and close-on-exec. Raises CppUtil::FileSystemError when that fails, and when it yields
/// descriptor 0: a closed standard input counts as a broken set-up, not as a free number.
UniqueFD makeUniqueFD(const std::string& path, int flags);

} // namespace Osl::LinuxCppUtil
