#include <osl/linutils/terminal_mode.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <unistd.h>

namespace Osl::LinuxCppUtil {
namespace {

constexpr std::array SIGNALS{SIGHUP, SIGQUIT, SIGTERM, SIGTSTP};

// Where the signal handler finds them.
termios g_Outside = {}; ///< the terminal's modes for other programs
termios g_Inside = {};
std::array<struct sigaction, SIGNALS.size()> g_Before = {};

/// Does what the signal does without a handler, with the terminal as others expect it. A stop returns here.
void onSignal(int number)
{
    const int error = errno;
    if (::tcgetpgrp(STDIN_FILENO) == ::getpgrp()) // else another program has it, and to set its modes would be a stop
        ::tcsetattr(STDIN_FILENO, TCSANOW, &g_Outside);
    struct sigaction ours = {};
    struct sigaction usual = {};
    usual.sa_handler = SIG_DFL;
    ::sigaction(number, &usual, &ours);
    ::raise(number);
    ::sigaction(number, &ours, nullptr);
    ::tcsetattr(STDIN_FILENO, TCSANOW, &g_Inside);
    errno = error;
}

void catchSignals()
{
    struct sigaction action = {};
    action.sa_handler = &onSignal;
    action.sa_flags = SA_RESTART | SA_NODEFER; // or the signal would wait for the handler's end
    for (std::size_t i = 0; i < SIGNALS.size(); ++i) {
        ::sigaction(SIGNALS[i], nullptr, &g_Before[i]);
        if (g_Before[i].sa_handler != SIG_IGN) // as nohup has it
            ::sigaction(SIGNALS[i], &action, nullptr);
    }
}

} // namespace

TerminalMode::TerminalMode(tcflag_t modesOff, AtEnd atEnd) : m_IsTerminal(::tcgetattr(STDIN_FILENO, &g_Outside) == 0)
{
    if (!m_IsTerminal)
        return;
    g_Inside = g_Outside;
    g_Inside.c_lflag &= ~modesOff;
    if (atEnd == AtEnd::ON)
        g_Outside.c_lflag |= modesOff;
    catchSignals();
    ::tcsetattr(STDIN_FILENO, TCSANOW, &g_Inside);
}

TerminalMode::~TerminalMode()
{
    if (!m_IsTerminal)
        return;
    // Only what was changed here: other settings may have been made meanwhile.
    termios now = {};
    if (::tcgetattr(STDIN_FILENO, &now) == 0) {
        const tcflag_t changed = g_Outside.c_lflag ^ g_Inside.c_lflag;
        now.c_lflag = (now.c_lflag & ~changed) | (g_Outside.c_lflag & changed);
        ::tcsetattr(STDIN_FILENO, TCSANOW, &now);
    }
    for (std::size_t i = 0; i < SIGNALS.size(); ++i)
        ::sigaction(SIGNALS[i], &g_Before[i], nullptr);
}

} // namespace Osl::LinuxCppUtil
