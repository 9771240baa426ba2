#pragma once

#include <osl/linutils/raii_filedescriptors.h>

#include <cstdint>
#include <functional>
#include <optional>
#include <sys/types.h>

namespace Osl::VirtualBoard {

/// Sits between the kernel and the processes that this one starts, statically linked ones included, for device
/// requests (ioctl) of one type. They wait until they have been served.
class IoctlListener
{
public:
    struct Request
    {
        pid_t thread;
        int descriptor;
        uint32_t code;
        uint64_t argument; ///< mostly an address in the memory of `thread`
    };
    /// Returns the request's result, 0 or more or a negative errno; nullopt leaves it to the kernel.
    using Handler = std::function<std::optional<int>(const Request& request)>;

    /// Listens from now on, for the rest of this process's life. Raises CppUtil::IOError where the kernel does not
    /// allow it, or does it for another listener already.
    explicit IoctlListener(uint8_t type);

    /// Readable when a request waits.
    int descriptor() const { return *m_Descriptor; }

    /// Serves one waiting request.
    void serve(const Handler& handler) const;

private:
    LinuxCppUtil::UniqueFD m_Descriptor;
};

} // namespace Osl::VirtualBoard
