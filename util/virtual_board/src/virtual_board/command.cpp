#include "virtual_board/command.h"

#include <cerrno>
#include <csignal>
#include <cstring>
#include <iostream>
#include <sys/wait.h>
#include <unistd.h>

namespace Osl::VirtualBoard {

void becomeCommand(const char* program, char* const* command)
{
    std::signal(SIGINT, SIG_DFL);
    std::signal(SIGQUIT, SIG_DFL);
    sigset_t none;
    ::sigemptyset(&none);
    ::sigprocmask(SIG_SETMASK, &none, nullptr);
    ::execvp(command[0], command);
    const int reason = errno;
    std::cerr << program << ": cannot run " << command[0] << ": " << std::strerror(reason) << std::endl;
    ::_exit(reason == ENOENT ? EXIT_NOT_FOUND : EXIT_CANNOT_RUN);
}

int exitStatus(int waitStatus)
{
    constexpr int SIGNAL_STATUS = 128; // plus the signal's number
    return WIFSIGNALED(waitStatus) ? SIGNAL_STATUS + WTERMSIG(waitStatus) : WEXITSTATUS(waitStatus);
}

} // namespace Osl::VirtualBoard
