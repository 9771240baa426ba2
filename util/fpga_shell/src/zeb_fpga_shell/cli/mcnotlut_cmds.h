#pragma once

#include "zeb_fpga_shell/cli/cli_cmd.h"

namespace Osl::Utils {

/// Lists the addresses of the multicast NOT filter of the network interface.
class McNotLutReadCmd : public CliCmd
{
public:
    using CliCmd::CliCmd;
    void addOptions(Options& options) override;
    int doCommand(Options& options, std::ostream& out, std::istream& in) override;
};

/// Adds or clears one address. Its refusals go to the output stream.
class McNotLutWriteCmd : public CliCmd
{
public:
    using CliCmd::CliCmd;
    void addOptions(Options& options) override;
    int doCommand(Options& options, std::ostream& out, std::istream& in) override;
};

} // namespace Osl::Utils
