#include <osl/linutils/raii_filedescriptors.h>

#include <fmt/format.h>

#include <fcntl.h>
#include <unistd.h>

namespace Osl::LinuxCppUtil {

void FDCloser::operator()(int* descriptor) const noexcept
{
    ::close(*descriptor);
    delete descriptor;
}

UniqueFD ownFD(int descriptor) { return UniqueFD(new int(descriptor)); }

UniqueFD makeUniqueFD(const std::string& path, int flags)
{
    const int fd = ::open(path.c_str(), flags | O_CLOEXEC);
    if (fd <= 0) {
        if (fd == 0)
            ::close(fd);
        OSL_RAISE(CppUtil::FileSystemError, fmt::format("Could not open file: \"{}\" with flags: {}", path, flags));
    }
    return ownFD(fd);
}

} // namespace Osl::LinuxCppUtil
