#pragma once

#include "zeb_fpga_shell/cli/command_row.h"
#include "zeb_fpga_shell/cli/table_cmd.h"

namespace Osl::Utils {

extern const PidTableCmdDecl READ_TSI_MAP, READ_PID_LUT, READ_O_PID_MAP;
extern const IoTableCmdDecl READ_IP_LUT, READ_PHYS_OUT_MAP, READ_PHYS_IN_MAP, READ_IP_OUT_MAP;

// clang-format off
class ReadIPLUTCmd            : public TableCmd<READ_IP_LUT>        { using TableCmd::TableCmd; };
class ReadTSIMAPCmd           : public TableCmd<READ_TSI_MAP>       { using TableCmd::TableCmd; };
class ReadPIDLUTCmd           : public TableCmd<READ_PID_LUT>       { using TableCmd::TableCmd; };
class ReadOPIDMAPCmd          : public TableCmd<READ_O_PID_MAP>     { using TableCmd::TableCmd; };
class ReadPHYSOUTMAPCmd       : public TableCmd<READ_PHYS_OUT_MAP>  { using TableCmd::TableCmd; };
class ReadPHYSINMAPCmd        : public TableCmd<READ_PHYS_IN_MAP>   { using TableCmd::TableCmd; };
class ReadIPOutCmd            : public TableCmd<READ_IP_OUT_MAP>    { using TableCmd::TableCmd; };
// clang-format on

/// The family's rows of the registry, in the order in which `list` shows them.
std::span<const CommandRow> tableReadCommands();

} // namespace Osl::Utils
