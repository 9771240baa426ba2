#pragma once

#include "zeb_fpga_shell/cli/cli_cmd.h"
#include "zeb_fpga_shell/cli/zeb_fpga_openclose_cmd.h"

namespace Osl::Utils {

/// Sends a TS file through a TX DMA channel, paced by its PCRs, or packet by packet through the port's registers.
class WrTsPacketsCmd : public CliCmd
{
public:
    using CliCmd::CliCmd;
    void addOptions(Options& options) override;
    int doCommand(Options& options, std::ostream& out, std::istream& in) override;
};

/// Takes packets from the packet port.
class RdTsPacketsCmd : public PKTIOOpenCloseCmd
{
public:
    using PKTIOOpenCloseCmd::PKTIOOpenCloseCmd;
    void addOptions(Options& options) override;

protected:
    int doFpgaCommand(Options& options, std::ostream& out, std::istream& in) override;
};

} // namespace Osl::Utils
