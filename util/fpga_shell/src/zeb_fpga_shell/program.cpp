#include "zeb_fpga_shell/program.h"

#include "zeb_fpga_shell/cli/cli_module.h"
#include "zeb_fpga_shell/cli/registry.h"
#include "zeb_fpga_shell/interactive_mode.h"
#include "zeb_fpga_shell/stop_flag.h"

#include <osl/cpputils/error.h>
#include <osl/cpputils/log.h>

#include <algorithm>
#include <atomic>
#include <csignal>
#include <exception>
#include <fcntl.h>
#include <iostream>
#include <string_view>
#include <type_traits>
#include <unistd.h>

namespace Osl::Utils {
namespace {

/// Never destroyed, since a signal can come while the program is being left.
std::atomic<bool> g_Stop = false;
static_assert(std::atomic<bool>::is_always_lock_free && std::is_trivially_destructible_v<std::atomic<bool>>);

void onInterrupt(int) { g_Stop = true; }

/// A standard stream that was closed before the program started would leave its number to the next file opened, a
/// device: output would then be written into the FPGA's tables. What takes its place cannot be written, so that lost
/// output is noticed.
void occupyStandardStreams()
{
    for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (::fcntl(descriptor, F_GETFD) == -1)
            ::open("/dev/null", O_RDONLY); // gets the lowest free number, which is this one
    }
}

int runCommand(int argc, char** argv)
{
    try {
        CliModule module;
        registerCommands(module, StopFlag(StopFlag(), &g_Stop)); // owns nothing
        const int status = module.run(argc, argv, std::cout, std::cin);
        if (!std::cout.flush())
            OSL_RAISE(CppUtil::IOError, "Could not write all of the output");
        return status;
    } catch (const std::exception& error) {
        std::cerr << "Encountered an error: " << error.what() << std::endl;
        return -1;
    }
}

} // namespace

bool wantsInteractiveMode(int argc, const char* const* argv)
{
    return std::any_of(argv, argv + argc,
                       [](std::string_view word) { return word == "-I" || word == "--interactive"; });
}

int runProgram(int argc, char** argv)
{
    occupyStandardStreams();
    std::signal(SIGINT, &onInterrupt);
    CppUtil::Log::setUp(CppUtil::Log::Level::WARNING);
    return wantsInteractiveMode(argc, argv) ? runInteractive(std::cin, std::cout, std::cerr) : runCommand(argc, argv);
}

} // namespace Osl::Utils
