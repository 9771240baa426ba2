#include "zeb_fpga_shell/interactive_mode.h"

#include "zeb_fpga_shell/fpga_cmd_module.h"
#include "zeb_fpga_shell/shell.h"
#include "zeb_fpga_shell/shell_error.h"

#include <osl/linutils/stream_buffers.h>
#include <osl/linutils/terminal_mode.h>

#include <exception>
#include <memory>

namespace Osl::Utils {

int runInteractive(std::istream& in, std::ostream& out, std::ostream& err)
{
    using LinuxCppUtil::TerminalMode;
    const TerminalMode keyByKey(ICANON | ECHO, TerminalMode::AtEnd::ON); // the shell edits and echoes the line itself
    try {
        Shell shell(in, out);
        shell.installModule(std::make_unique<FpgaCmdModule>());
        const int result = shell.run();
        if (!out.flush())
            OSL_RAISE(ShellError, "The output could not be written" + LinuxCppUtil::failureReason(out) + ".");
        return result;
    } catch (const std::exception& error) {
        err << "Shell application failed with unexpected exception:" << std::endl << error.what();
        return -1;
    }
}

} // namespace Osl::Utils
