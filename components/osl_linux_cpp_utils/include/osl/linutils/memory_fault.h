#pragma once

#include <csetjmp>
#include <optional>

namespace Osl::LinuxCppUtil {

namespace Detail {

/// Where the running guarded access resumes after a fault; a list, so that guards nest.
struct FaultFrame
{
    sigjmp_buf resume;
    const volatile void* address = nullptr;
    FaultFrame* outer = nullptr;
};

/// The guard that the next fault of this thread resumes.
inline constinit thread_local FaultFrame* t_Innermost = nullptr;

bool installFaultHandler();

} // namespace Detail

/// Runs `access`, which touches mapped device memory; returns the address that faulted (SIGBUS), or nullopt when none
/// did. So a bus that does not answer, or a file cut short under its mapping, becomes an error instead of the end of
/// the process. `access` must not own anything: a fault leaves it without running destructors.
/// Faults outside guarded accesses end the process as they always do.
template <class Access>
std::optional<const volatile void*> guardMemoryFault(const Access& access)
{
    [[maybe_unused]] static const bool installed = Detail::installFaultHandler();
    Detail::FaultFrame frame;
    frame.outer = Detail::t_Innermost;
    Detail::t_Innermost = &frame;
    if (sigsetjmp(frame.resume, 0) != 0) {
        Detail::t_Innermost = frame.outer;
        return frame.address;
    }
    access();
    Detail::t_Innermost = frame.outer;
    return std::nullopt;
}

} // namespace Osl::LinuxCppUtil
