#include "zeb_fpga_shell/program.h"

#include "zeb_fpga_shell/cli/cli_module.h"
#include "zeb_fpga_shell/cli/registry.h"
#include "zeb_fpga_shell/interactive_mode.h"
#include "zeb_fpga_shell/stop_flag.h"

#include <osl/cpputils/error.h>
#include <osl/cpputils/log.h>
#include <osl/linutils/interruptible.h>
#include <osl/linutils/stream_buffers.h>

#include <algorithm>
#include <atomic>
#include <csignal>
#include <cstddef>
#include <exception>
#include <fcntl.h>
#include <iostream>
#include <new>
#include <streambuf>
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

/// The standard streams, with waits that Ctrl-C ends: an output that nobody reads, an input that stays silent.
class StandardStreams
{
public:
    explicit StandardStreams(bool interactive)
        : m_In(STDIN_FILENO, "standard input", interactive && ::isatty(STDIN_FILENO) == 1 ? &stayAtPrompt : nullptr)
    {
        std::cin.rdbuf(&m_In);
        std::cin.exceptions(std::ios::badbit); // a failed read is not the end of the input
        std::cout.rdbuf(&m_Out);
        std::cerr.rdbuf(&m_Err);
    }
    ~StandardStreams()
    {
        std::cin.exceptions(std::ios::goodbit);
        std::cin.rdbuf(m_OldIn);
        std::cout.flush();
        std::cout.rdbuf(m_OldOut);
        std::cerr.rdbuf(m_OldErr);
    }
    StandardStreams(const StandardStreams&) = delete;
    StandardStreams& operator=(const StandardStreams&) = delete;

private:
    /// Ctrl-C at the prompt has nothing to stop, and is not meant for the command that is typed next.
    static bool stayAtPrompt()
    {
        g_Stop = false;
        return true;
    }

    static constexpr std::size_t OUTPUT_BYTES = 16 << 10;
    LinuxCppUtil::InputBuffer m_In;
    LinuxCppUtil::OutputBuffer m_Out{STDOUT_FILENO, OUTPUT_BYTES};
    LinuxCppUtil::OutputBuffer m_Err{STDERR_FILENO, 0};
    std::streambuf* m_OldIn = std::cin.rdbuf();
    std::streambuf* m_OldOut = std::cout.rdbuf();
    std::streambuf* m_OldErr = std::cerr.rdbuf();
};

int runCommand(int argc, char** argv)
{
    try {
        CliModule module;
        registerCommands(module, StopFlag(StopFlag(), &g_Stop)); // owns nothing
        const int status = module.run(argc, argv, std::cout, std::cin);
        if (!std::cout.flush())
            OSL_RAISE(CppUtil::IOError, "Could not write all of the output" + LinuxCppUtil::failureReason(std::cout));
        return status;
    } catch (const std::bad_alloc&) {
        std::cerr << "Encountered an error: There is not enough memory" << std::endl;
        return -1;
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
    LinuxCppUtil::Interruptible::stopOn(&g_Stop);
    std::signal(SIGINT, &onInterrupt);
    std::signal(SIGXFSZ, SIG_IGN); // a file that may not grow any more is an error of the write, with a text
    const bool interactive = wantsInteractiveMode(argc, argv);
    const StandardStreams streams(interactive);
    CppUtil::Log::setUp(CppUtil::Log::Level::WARNING);
    return interactive ? runInteractive(std::cin, std::cout, std::cerr) : runCommand(argc, argv);
}

} // namespace Osl::Utils
