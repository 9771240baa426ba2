#include "virtual_board/program.h"

#include "virtual_board/board_folder.h"
#include "virtual_board/live_board.h"

#include <cerrno>
#include <csignal>
#include <cstring>
#include <exception>
#include <iostream>
#include <string_view>
#include <sys/wait.h>
#include <unistd.h>

namespace Osl::VirtualBoard {
namespace {

constexpr std::string_view USAGE =
    "usage: zeb_virtual_board FOLDER [COMMAND [ARGUMENT]...]\n"
    "\n"
    "Makes FOLDER, or what is missing in it, the folder of a virtual board, whose files\n"
    "dev/... and sys/class/... stand for the devices and attributes of a real one.\n"
    "Then runs COMMAND, which is to find them at /dev/... and /sys/class/...:\n"
    "scripts/board arranges that.\n";

[[noreturn]] void becomeCommand(char** argv)
{
    // The launcher ignores these for itself, so that Ctrl-C reaches the command alone.
    std::signal(SIGINT, SIG_DFL);
    std::signal(SIGQUIT, SIG_DFL);
    ::execvp(argv[0], argv);
    const int reason = errno;
    std::cerr << "zeb_virtual_board: cannot run " << argv[0] << ": " << std::strerror(reason) << std::endl;
    ::_exit(reason == ENOENT ? EXIT_NOT_FOUND : EXIT_CANNOT_RUN);
}

/// Runs the command with the board at work behind it; ends with the command and its status.
int runOnBoard(const char* folder, char** command)
{
    constexpr int SIGNAL_STATUS = 128; // plus the signal's number
    LiveBoard board(folder);
    const pid_t child = ::fork();
    if (child < 0)
        OSL_RAISE(BoardError, std::string("Cannot start a process: ") + std::strerror(errno));
    if (child == 0)
        becomeCommand(command);
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
    const std::string_view folder = argc > 1 ? argv[1] : "";
    if (folder == "-h" || folder == "--help") {
        std::cout << USAGE << std::flush;
        return 0;
    }
    if (folder.empty() || folder.front() == '-') {
        std::cerr << USAGE << std::flush;
        return EXIT_NO_BOARD;
    }
    try {
        makeBoard(folder);
        return argc > 2 ? runOnBoard(argv[1], argv + 2) : 0;
    } catch (const std::exception& error) {
        std::cerr << "zeb_virtual_board: " << error.what() << std::endl;
        return EXIT_NO_BOARD;
    }
}

} // namespace Osl::VirtualBoard
