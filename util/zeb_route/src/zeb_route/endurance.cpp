#include "zeb_route/endurance.h"

#include <osl/linutils/program_start.h>

#include <csignal>
#include <sys/prctl.h>
#include <unistd.h>

namespace Osl::ZebRoute {

void endure()
{
    for (const int signal : {SIGHUP, SIGTERM, SIGQUIT})
        LinuxCppUtil::stopOnSignal(signal);
    for (const int signal : {SIGTSTP, SIGTTIN, SIGTTOU, SIGPIPE})
        std::signal(signal, SIG_IGN);
    // A shell that is killed takes nobody along by itself.
    const pid_t parent = ::getppid();
    ::prctl(PR_SET_PDEATHSIG, SIGHUP);
    if (::getppid() != parent)
        std::raise(SIGHUP);
}

} // namespace Osl::ZebRoute
