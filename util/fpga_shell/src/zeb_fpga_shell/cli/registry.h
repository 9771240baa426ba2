#pragma once

#include "zeb_fpga_shell/cli/cli_module.h"
#include "zeb_fpga_shell/stop_flag.h"

namespace Osl::Utils {

/// Adds every command of command mode, in the order of the registry. All share `stopFlag`.
void registerCommands(CliModule& module, const StopFlag& stopFlag);

} // namespace Osl::Utils
