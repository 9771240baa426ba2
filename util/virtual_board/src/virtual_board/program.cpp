#include "virtual_board/program.h"

#include "virtual_board/board_folder.h"
#include "virtual_board/board_socket.h"
#include "virtual_board/command.h"
#include "virtual_board/join.h"
#include "virtual_board/live_board.h"
#include "virtual_board/settings.h"
#include "virtual_board/users.h"

#include <osl/cpputils/log.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>
#include <exception>
#include <fcntl.h>
#include <filesystem>
#include <iostream>
#include <optional>
#include <sched.h>
#include <span>
#include <string>
#include <string_view>
#include <sys/wait.h>
#include <unistd.h>

namespace Osl::VirtualBoard {

using namespace std::chrono_literals;

namespace {

constexpr const char* PROGRAM = "zeb_virtual_board";

constexpr std::string_view USAGE =
    "usage: zeb_virtual_board FOLDER\n"
    "       zeb_virtual_board [OPTION]... FOLDER COMMAND [ARGUMENT]...\n"
    "       zeb_virtual_board --join FOLDER USER TEXT [OPTION]... -- START... -- COMMAND...\n"
    "       zeb_virtual_board --serve [OPTION]... FOLDER\n"
    "       zeb_virtual_board --status FOLDER\n"
    "\n"
    "Makes FOLDER a virtual board, or adds what is missing in it. Its files dev/... and\n"
    "sys/class/... take the place of a real board's devices and attributes. A COMMAND must\n"
    "find them at /dev/... and /sys/class/...; scripts/board sees to that.\n"
    "\n"
    "With a COMMAND alone the board is there for as long as that runs. --join runs COMMAND on\n"
    "the board that runs in FOLDER; if none does, START OPTION... FOLDER starts it, which has\n"
    "to be this program with --serve: it serves all who join until the last has left. Others\n"
    "see USER and TEXT by --status.\n"
    "\n"
    "  --net    receive and send multicast streams, on the loopback device\n"
    "  --bridge the same on the device \"board\"\n"
    "  --log    write messages to dev/zebtsif_messages, not to standard error\n"
    "  --feed   feed a TS file into a physical input, in a loop, in real time\n"
    "  --speed  run feeds, TX channels and RTP time stamps this many times as fast\n"
    "  --fast   feed files once, as fast as possible, as soon as their input is mapped\n";

void onChildsEnd(int) {}

/// Lets what happens to a child, or to a process that is followed, interrupt the board's sleep, and nothing else that
/// it does.
void preferSleepToBeInterrupted()
{
    std::signal(SIGCHLD, onChildsEnd);
    sigset_t childsEnd;
    ::sigemptyset(&childsEnd);
    ::sigaddset(&childsEnd, SIGCHLD);
    ::sigprocmask(SIG_BLOCK, &childsEnd, nullptr);
}

/// Goes before other programs, where this process may ask for that. It sleeps most of the time, unless feeds go as fast
/// as they can.
void keepTimeOnABusyMachine()
{
    const sched_param lowest{.sched_priority = ::sched_get_priority_min(SCHED_RR)};
    ::sched_setscheduler(0, SCHED_RR, &lowest);
}

/// Ctrl-C ends the command, and the board only with it.
void ignoreInterrupts()
{
    std::signal(SIGINT, SIG_IGN);
    std::signal(SIGQUIT, SIG_IGN);
}

std::string messageFile(const Settings& settings)
{
    return (settings.folder / std::filesystem::path(MESSAGES_PATH).relative_path()).string();
}

/// Whether the child has ended, and how. It may also have stopped, where the board follows what it does.
bool hasEnded(pid_t child, int& status)
{
    siginfo_t info = {};
    ::waitid(P_PID, static_cast<id_t>(child), &info, WEXITED | WNOHANG | WNOWAIT);
    const bool ended = info.si_pid == child && info.si_code != CLD_TRAPPED && info.si_code != CLD_STOPPED;
    return ended && ::waitpid(child, &status, WNOHANG) == child;
}

/// Runs the command with the board at work behind it; ends with the command and its status.
int runOnBoard(const Settings& settings)
{
    ignoreInterrupts();
    makeBoard(settings.folder);
    LiveBoard board(settings);
    preferSleepToBeInterrupted();
    const pid_t child = ::fork();
    if (child < 0)
        OSL_RAISE(BoardError, std::string("Cannot start a process: ") + std::strerror(errno));
    if (child == 0)
        becomeCommand(PROGRAM, settings.command);
    if (settings.messages == Messages::IN_FILE)
        tellInFile(messageFile(settings));
    if (settings.pace != Feed::Pace::FAST)
        keepTimeOnABusyMachine();
    int status = 0;
    board.run([child, &status] { return hasEnded(child, status); });
    return exitStatus(status);
}

/// Serves the user at standard input and all who join, until the last has left.
int serveUsers(const Settings& settings)
{
    constexpr auto PATIENCE = 5s; // the lock of one that was killed goes a moment after its socket
    ignoreInterrupts();
    const BoardLocks locks(settings.folder);
    const auto running = locks.run({.duration = PATIENCE, .stopped = {}});
    LiveBoard board(settings);
    Users users(settings, Connection(LinuxCppUtil::ownFD(::fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1))));
    // From here on nothing is left of where it was started.
    tellInFile(messageFile(settings));
    const auto nowhere = LinuxCppUtil::makeUniqueFD("/dev/null", O_RDWR);
    ::dup2(*nowhere, STDIN_FILENO);
    ::dup2(*nowhere, STDOUT_FILENO);
    std::filesystem::current_path("/");
    preferSleepToBeInterrupted();
    if (settings.pace != Feed::Pace::FAST)
        keepTimeOnABusyMachine();
    std::optional<LinuxCppUtil::FileLock> going;
    board.run(
        [&] {
            users.serve([&board] { board.writeOut(); });
            if (!users.empty())
                return false;
            if (auto lock = locks.tryComeOrGo())
                going.emplace(std::move(*lock));
            return going.has_value();
        },
        users.descriptor());
    return 0;
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
        const std::span arguments(argv, static_cast<std::size_t>(argc));
        if (first == "--join")
            return joinBoard(arguments.subspan(2));
        if (first == "--status" && argc == 3)
            return showStatus(argv[2]);
        if (first == "--serve")
            return serveUsers(readArguments(argc - 1, argv + 1));
        const Settings settings = readArguments(argc, argv);
        if (settings.command != nullptr)
            return runOnBoard(settings);
        makeKeptBoard(settings.folder);
        return 0;
    } catch (const CppUtil::InvalidArgumentError& error) {
        std::cerr << PROGRAM << ": " << error.what() << '\n' << USAGE << std::flush;
    } catch (const std::exception& error) {
        std::cerr << PROGRAM << ": " << error.what() << std::endl;
    }
    return EXIT_NO_BOARD;
}

} // namespace Osl::VirtualBoard
