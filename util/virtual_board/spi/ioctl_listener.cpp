#include "ioctl_listener.h"

#include <osl/cpputils/error.h>

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <linux/audit.h>
#include <linux/filter.h>
#include <linux/ioctl.h>
#include <linux/seccomp.h>
#include <sys/ioctl.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>
#include <vector>

namespace Osl::VirtualBoard {
namespace {

#if defined(__x86_64__)
constexpr uint32_t NATIVE_ARCHITECTURE = AUDIT_ARCH_X86_64;
#elif defined(__aarch64__)
constexpr uint32_t NATIVE_ARCHITECTURE = AUDIT_ARCH_AARCH64;
#elif defined(__arm__)
constexpr uint32_t NATIVE_ARCHITECTURE = AUDIT_ARCH_ARM;
#else
#error "the architecture's name in system call filters is missing here"
#endif

constexpr sock_filter load(std::size_t offset)
{
    return BPF_STMT(BPF_LD | BPF_W | BPF_ABS, static_cast<uint32_t>(offset));
}

constexpr sock_filter unlessEqualSkip(uint32_t value, uint8_t steps)
{
    return BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, value, 0, steps);
}

int install(uint8_t type, unsigned int flags)
{
    constexpr std::size_t CODE = offsetof(seccomp_data, args) + sizeof(uint64_t) +
                                 (std::endian::native == std::endian::big ? sizeof(uint32_t) : 0);
    std::array filter{
        load(offsetof(seccomp_data, arch)),
        unlessEqualSkip(NATIVE_ARCHITECTURE, 6),
        load(offsetof(seccomp_data, nr)),
        unlessEqualSkip(__NR_ioctl, 4),
        load(CODE),
        sock_filter BPF_STMT(BPF_ALU | BPF_AND | BPF_K, _IOC_TYPEMASK << _IOC_TYPESHIFT),
        unlessEqualSkip(uint32_t{type} << _IOC_TYPESHIFT, 1),
        sock_filter BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_USER_NOTIF),
        sock_filter BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
    };
    const sock_fprog program{static_cast<unsigned short>(filter.size()), filter.data()};
    return static_cast<int>(
        ::syscall(SYS_seccomp, SECCOMP_SET_MODE_FILTER, flags | SECCOMP_FILTER_FLAG_NEW_LISTENER, &program));
}

/// A notification of the size that this kernel writes, which may be more than this program knows of.
template <class Record>
class KernelRecord
{
public:
    explicit KernelRecord(std::size_t kernelBytes)
        : m_Storage(std::max(kernelBytes, sizeof(Record)) / sizeof(uint64_t) + 1, 0)
    {
    }
    Record& operator*() { return *reinterpret_cast<Record*>(m_Storage.data()); }
    Record* operator->() { return &**this; }

private:
    std::vector<uint64_t> m_Storage;
};

} // namespace

IoctlListener::IoctlListener(uint8_t type)
{
    // Without it only root may filter.
    ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);
    // A signal must not interrupt a request that is being served: it would be made, and take effect, once more. Older
    // kernels do not know the flag.
    int descriptor = install(type, SECCOMP_FILTER_FLAG_WAIT_KILLABLE_RECV);
    if (descriptor < 0 && errno == EINVAL)
        descriptor = install(type, 0);
    if (descriptor < 0)
        OSL_RAISE(CppUtil::IOError,
                  fmt::format("the kernel does not let device requests be answered here: {}", std::strerror(errno)));
    m_Descriptor = LinuxCppUtil::ownFD(descriptor);
}

void IoctlListener::serve(const Handler& handler) const
{
    seccomp_notif_sizes sizes = {};
    ::syscall(SYS_seccomp, SECCOMP_GET_NOTIF_SIZES, 0, &sizes);
    KernelRecord<seccomp_notif> notification(sizes.seccomp_notif);
    if (::ioctl(descriptor(), SECCOMP_IOCTL_NOTIF_RECV, &*notification) != 0)
        return; // who asked is gone

    const auto& arguments = notification->data.args;
    const std::optional<int> result = handler({.thread = static_cast<pid_t>(notification->pid),
                                               .descriptor = static_cast<int>(arguments[0]),
                                               .code = static_cast<uint32_t>(arguments[1]),
                                               .argument = arguments[2]});
    KernelRecord<seccomp_notif_resp> answer(sizes.seccomp_notif_resp);
    answer->id = notification->id;
    if (!result)
        answer->flags = SECCOMP_USER_NOTIF_FLAG_CONTINUE;
    else if (*result < 0)
        answer->error = *result;
    else
        answer->val = *result;
    ::ioctl(descriptor(), SECCOMP_IOCTL_NOTIF_SEND, &*answer); // fails when who asked is gone meanwhile
}

} // namespace Osl::VirtualBoard
