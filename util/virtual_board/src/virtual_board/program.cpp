#include "virtual_board/program.h"

#include "virtual_board/board_folder.h"

#include <cerrno>
#include <csignal>
#include <cstring>
#include <exception>
#include <iostream>
#include <string_view>
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

int becomeCommand(char** argv)
{
    // The launcher ignores these for itself, so that Ctrl-C reaches the command alone.
    std::signal(SIGINT, SIG_DFL);
    std::signal(SIGQUIT, SIG_DFL);
    ::execvp(argv[0], argv);
    const int reason = errno;
    std::cerr << "zeb_virtual_board: cannot run " << argv[0] << ": " << std::strerror(reason) << std::endl;
    return reason == ENOENT ? EXIT_NOT_FOUND : EXIT_CANNOT_RUN;
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
    } catch (const std::exception& error) {
        std::cerr << "zeb_virtual_board: " << error.what() << std::endl;
        return EXIT_NO_BOARD;
    }
    return argc > 2 ? becomeCommand(argv + 2) : 0;
}

} // namespace Osl::VirtualBoard
