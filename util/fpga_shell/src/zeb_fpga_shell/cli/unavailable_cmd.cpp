#include "zeb_fpga_shell/cli/unavailable_cmd.h"

#include "zeb_fpga_shell/shell_error.h"

namespace Osl::Utils {

int UnavailableCmd::run(int, char**, std::ostream&, std::istream&)
{
    OSL_RAISE(ShellError, "The command \"" + getName() + "\" is not available yet.");
}

} // namespace Osl::Utils
