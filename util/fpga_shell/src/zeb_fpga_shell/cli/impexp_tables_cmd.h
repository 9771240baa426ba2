#pragma once

#include "zeb_fpga_shell/cli/cli_cmd.h"

namespace Osl::Utils {

/// Saves the routing tables to a file; an existing one survives any failure.
class ExportTablesCmd : public CliCmd
{
public:
    using CliCmd::CliCmd;
    void addOptions(Options& options) override;
    int doCommand(Options& options, std::ostream& out, std::istream& in) override;
};

/// Restores the routing tables from a file, all of which is checked before the first write.
class ImportTablesCmd : public CliCmd
{
public:
    using CliCmd::CliCmd;
    void addOptions(Options& options) override;
    int doCommand(Options& options, std::ostream& out, std::istream& in) override;
};

} // namespace Osl::Utils
