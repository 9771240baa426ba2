#include "zeb_fpga_shell/interactive_mode.h"

#include "zeb_fpga_shell/fpga_cmd_module.h"
#include "zeb_fpga_shell/shell.h"
#include "zeb_fpga_shell/shell_error.h"

#include <exception>
#include <memory>
#include <termios.h>
#include <unistd.h>

namespace Osl::Utils {
namespace {

/// Lets the shell see each key at once and echo it itself. On leaving, line editing and echo are switched on whatever
/// they were before: a terminal that an earlier program left without them is usable again. Standard input that is no
/// terminal has no such modes, so failures do not matter.
class ShellTerminalMode
{
public:
    ShellTerminalMode()
    {
        change([](tcflag_t& flags) { flags &= ~EDITING; });
    }
    ~ShellTerminalMode()
    {
        change([](tcflag_t& flags) { flags |= EDITING; });
    }
    ShellTerminalMode(const ShellTerminalMode&) = delete;
    ShellTerminalMode& operator=(const ShellTerminalMode&) = delete;

private:
    static constexpr tcflag_t EDITING = ICANON | ECHO;

    template <class Change>
    static void change(const Change& changeFlags)
    {
        termios attributes{};
        ::tcgetattr(STDIN_FILENO, &attributes);
        changeFlags(attributes.c_lflag);
        ::tcsetattr(STDIN_FILENO, TCSANOW, &attributes);
    }
};

} // namespace

int runInteractive(std::istream& in, std::ostream& out, std::ostream& err)
{
    const ShellTerminalMode terminalMode;
    try {
        Shell shell(in, out);
        shell.installModule(std::make_unique<FpgaCmdModule>());
        const int result = shell.run();
        if (!out.flush())
            OSL_RAISE(ShellError, "The output could not be written.");
        return result;
    } catch (const std::exception& error) {
        err << "Shell application failed with unexpected exception:" << std::endl << error.what();
        return -1;
    }
}

} // namespace Osl::Utils
