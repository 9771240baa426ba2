#pragma once

#include "zeb_fpga_shell/cli/cli_cmd.h"

namespace Osl::Utils {

/// Holds the place of a command that a later version brings: listed like the others, refused when run, whatever its
/// options, since those are not known yet.
class UnavailableCmd final : public CliCmd
{
public:
    using CliCmd::CliCmd;
    int run(int argc, char** argv, std::ostream& out, std::istream& in) override;
    int doCommand(Options&, std::ostream&, std::istream&) override { return -1; }
};

} // namespace Osl::Utils
