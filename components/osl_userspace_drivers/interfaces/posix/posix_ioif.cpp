#include <osl/linutils/interruptible.h>
#include <osl/userspace_drivers/interfaces/posix/posix_ioif.h>

#include <fmt/format.h>

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <fcntl.h>
#include <sys/select.h>
#include <unistd.h>
#include <utility>

namespace Osl::Posix {
namespace {

std::string errnoText() { return fmt::format("Errno: ({} - {})", errno, std::strerror(errno)); }

LinuxCppUtil::UniqueFD openDevice(const std::string& path, bool readOnly)
{
    const int descriptor = LinuxCppUtil::Interruptible::open(path, readOnly ? O_RDONLY : O_RDWR);
    if (descriptor == -1)
        OSL_RAISE(CppUtil::FileSystemError, fmt::format("Could not open ({}). {}", path, errnoText()));
    return LinuxCppUtil::ownFD(descriptor);
}

} // namespace

PosixIOIf::PosixIOIf(const std::string& path, bool readOnly) : PosixIOIf(openDevice(path, readOnly), readOnly) {}

PosixIOIf::PosixIOIf(LinuxCppUtil::UniqueFD descriptor, bool) : m_Descriptor(std::move(descriptor))
{
    if (!m_Descriptor)
        OSL_RAISE(CppUtil::FileSystemError, "Non valid unique_ptr given");
    if (*m_Descriptor == -1)
        OSL_RAISE(CppUtil::FileSystemError, "Invalid file descriptor given");
}

std::size_t PosixIOIf::read(void* buffer, std::size_t length, std::chrono::milliseconds timeout)
{
    fd_set readable;
    FD_ZERO(&readable);
    FD_SET(*m_Descriptor, &readable);

    // The wait is never split into seconds; what the kernel once refused for that is refused here.
    int ready = -1;
    if (timeout >= std::chrono::seconds(1)) {
        errno = EINVAL;
    } else {
        timeval wait{.tv_sec = 0, .tv_usec = static_cast<suseconds_t>(timeout.count() * 1000)};
        ready = ::select(*m_Descriptor + 1, &readable, nullptr, nullptr, &wait);
    }
    if (ready == -1)
        OSL_RAISE(CppUtil::IOError,
                  fmt::format("Could not select file descriptor ({}). {}", *m_Descriptor, errnoText()));
    return ready == 0 ? 0 : read(buffer, length);
}

std::size_t PosixIOIf::read(void* buffer, std::size_t length)
{
    const ssize_t count = ::read(*m_Descriptor, buffer, length);
    if (count < 0)
        OSL_RAISE(CppUtil::IOError,
                  fmt::format("Could not read from file descriptor ({}). {}", *m_Descriptor, errnoText()));
    return static_cast<std::size_t>(count);
}

std::size_t PosixIOIf::write(const void*, std::size_t, std::chrono::milliseconds)
{
    OSL_RAISE(CppUtil::NotImplementedError, "not implemented");
}

std::size_t PosixIOIf::write(const void*, std::size_t) { OSL_RAISE(CppUtil::NotImplementedError, "not implemented"); }

} // namespace Osl::Posix
