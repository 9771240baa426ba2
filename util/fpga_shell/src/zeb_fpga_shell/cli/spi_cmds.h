#pragma once

#include "zeb_fpga_shell/cli/cli_cmd.h"

namespace Osl::Utils {

/// Dumps registers of an SPI slave; of the synthesiser's status register also the fields. Raises SPIError.
class SpiReadCmd : public CliCmd
{
public:
    using CliCmd::CliCmd;
    void addOptions(Options& options) override;
    int doCommand(Options& options, std::ostream& out, std::istream& in) override;
};

/// Writes registers of an SPI slave, one or a block, and reads them back on request. Raises SPIError.
class SpiWriteCmd : public CliCmd
{
public:
    using CliCmd::CliCmd;
    void addOptions(Options& options) override;
    int doCommand(Options& options, std::ostream& out, std::istream& in) override;
};

} // namespace Osl::Utils
