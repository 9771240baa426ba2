#include "zeb_fpga_shell/program.h"

#include "zeb_fpga_shell/cli/cli_module.h"
#include "zeb_fpga_shell/cli/registry.h"
#include "zeb_fpga_shell/interactive_mode.h"
#include "zeb_fpga_shell/stop_flag.h"

#include <osl/cpputils/error.h>
#include <osl/cpputils/log.h>
#include <osl/linutils/program_start.h>
#include <osl/linutils/stream_buffers.h>

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <exception>
#include <functional>
#include <iostream>
#include <new>
#include <streambuf>
#include <string_view>
#include <unistd.h>

namespace Osl::Utils {
namespace {

/// The standard streams, with waits that Ctrl-C ends: an output that nobody reads, an input that stays silent.
class StandardStreams
{
public:
    StandardStreams(bool interactive, std::atomic<bool>& stop)
        : m_In(STDIN_FILENO, "standard input",
               interactive && ::isatty(STDIN_FILENO) == 1 ? stayAtPrompt(stop) : nullptr)
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
    static std::function<bool()> stayAtPrompt(std::atomic<bool>& stop)
    {
        return [&stop] {
            stop = false;
            return true;
        };
    }

    static constexpr std::size_t OUTPUT_BYTES = 16 << 10;
    LinuxCppUtil::InputBuffer m_In;
    LinuxCppUtil::OutputBuffer m_Out{STDOUT_FILENO, OUTPUT_BYTES};
    LinuxCppUtil::OutputBuffer m_Err{STDERR_FILENO, 0};
    std::streambuf* m_OldIn = std::cin.rdbuf();
    std::streambuf* m_OldOut = std::cout.rdbuf();
    std::streambuf* m_OldErr = std::cerr.rdbuf();
};

int runCommand(int argc, char** argv, std::atomic<bool>& stop)
{
    try {
        CliModule module;
        registerCommands(module, StopFlag(StopFlag(), &stop)); // owns nothing
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
    std::atomic<bool>& stop = LinuxCppUtil::startProgram();
    const bool interactive = wantsInteractiveMode(argc, argv);
    const StandardStreams streams(interactive, stop);
    CppUtil::Log::setUp(CppUtil::Log::Level::WARNING);
    return interactive ? runInteractive(std::cin, std::cout, std::cerr) : runCommand(argc, argv, stop);
}

} // namespace Osl::Utils
