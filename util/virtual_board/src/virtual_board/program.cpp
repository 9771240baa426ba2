#include "virtual_board/program.h"

#include "virtual_board/board_folder.h"
#include "virtual_board/live_board.h"
#include "virtual_board/settings.h"

#include <osl/cpputils/log.h>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <exception>
#include <iostream>
#include <sched.h>
#include <string_view>
#include <sys/wait.h>
#include <unistd.h>

namespace Osl::VirtualBoard {
namespace {

constexpr std::string_view USAGE =
    "usage: zeb_virtual_board [--net] [--feed PORT=FILE]... [--fast] FOLDER [COMMAND [ARGUMENT]...]\n"
    "\n"
    "Makes FOLDER a virtual board, or adds what is missing in it. Its files dev/... and\n"
    "sys/class/... take the place of a real board's devices and attributes. Then runs\n"
    "COMMAND, which must find them at /dev/... and /sys/class/...; scripts/board sees to\n"
    "that.\n"
    "\n"
    "  --net    receive and send multicast streams, on the loopback device\n"
    "  --feed   feed a TS file into a physical input, in a loop, in real time\n"
    "  --fast   feed files once, as fast as possible, as soon as their input is mapped\n";

void onChildsEnd(int) {}

/// Lets the end of the command interrupt the board's sleep, and nothing else that it does.
void preferSleepToBeInterrupted()
{
    std::signal(SIGCHLD, onChildsEnd);
    sigset_t childsEnd;
    ::sigemptyset(&childsEnd);
    ::sigaddset(&childsEnd, SIGCHLD);
    ::sigprocmask(SIG_BLOCK, &childsEnd, nullptr);
}

[[noreturn]] void becomeCommand(char** argv)
{
    // The launcher ignores these for itself, so that Ctrl-C reaches the command alone.
    std::signal(SIGINT, SIG_DFL);
    std::signal(SIGQUIT, SIG_DFL);
    sigset_t none;
    ::sigemptyset(&none);
    ::sigprocmask(SIG_SETMASK, &none, nullptr);
    ::execvp(argv[0], argv);
    const int reason = errno;
    std::cerr << "zeb_virtual_board: cannot run " << argv[0] << ": " << std::strerror(reason) << std::endl;
    ::_exit(reason == ENOENT ? EXIT_NOT_FOUND : EXIT_CANNOT_RUN);
}

/// Goes before other programs, where this process may ask for that. It sleeps most of the time, unless feeds go as fast
/// as they can.
void keepTimeOnABusyMachine()
{
    const sched_param lowest{.sched_priority = ::sched_get_priority_min(SCHED_RR)};
    ::sched_setscheduler(0, SCHED_RR, &lowest);
}

/// Runs the command with the board at work behind it; ends with the command and its status.
int runOnBoard(const Settings& settings)
{
    constexpr int SIGNAL_STATUS = 128; // plus the signal's number
    LiveBoard board(settings);
    preferSleepToBeInterrupted();
    const pid_t child = ::fork();
    if (child < 0)
        OSL_RAISE(BoardError, std::string("Cannot start a process: ") + std::strerror(errno));
    if (child == 0)
        becomeCommand(settings.command);
    if (settings.pace != Feed::Pace::FAST)
        keepTimeOnABusyMachine();
    // Ctrl-C ends the command, and the board only with it.
    std::signal(SIGINT, SIG_IGN);
    std::signal(SIGQUIT, SIG_IGN);
    int status = 0;
    board.run([child, &status] { return ::waitpid(child, &status, WNOHANG) == child; });
    return WIFSIGNALED(status) ? SIGNAL_STATUS + WTERMSIG(status) : WEXITSTATUS(status);
}

} // namespace

int runProgram(int argc, char** argv)
{
    CppUtil::Log::setUp(CppUtil::Log::Level::WARNING);
    const std::string_view first = argc > 1 ? argv[1] : "";
    if (first == "-h" || first == "--help") {
        std::cout << USAGE << std::flush;
        return 0;
    }
    try {
        const Settings settings = readArguments(argc, argv);
        makeBoard(settings.folder);
        return settings.command != nullptr ? runOnBoard(settings) : 0;
    } catch (const CppUtil::InvalidArgumentError& error) {
        std::cerr << "zeb_virtual_board: " << error.what() << '\n' << USAGE << std::flush;
    } catch (const std::exception& error) {
        std::cerr << "zeb_virtual_board: " << error.what() << std::endl;
    }
    return EXIT_NO_BOARD;
}

} // namespace Osl::VirtualBoard
