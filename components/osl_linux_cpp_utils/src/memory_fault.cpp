#include <osl/linutils/memory_fault.h>

#include <csignal>

namespace Osl::LinuxCppUtil::Detail {
namespace {

void onBusError(int signal, siginfo_t* info, void*)
{
    if (t_Innermost == nullptr) {
        // Not ours: the instruction runs again and meets the default action.
        std::signal(signal, SIG_DFL);
        return;
    }
    t_Innermost->address = info->si_addr;
    siglongjmp(t_Innermost->resume, 1);
}

} // namespace

bool installFaultHandler()
{
    struct sigaction action = {};
    action.sa_sigaction = &onBusError;
    // The handler is left by a jump, so the signal must not stay blocked.
    action.sa_flags = SA_SIGINFO | SA_NODEFER;
    return ::sigaction(SIGBUS, &action, nullptr) == 0;
}

} // namespace Osl::LinuxCppUtil::Detail
