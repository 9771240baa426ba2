#pragma once

#include "zeb_fpga_shell/cli/command_row.h"
#include "zeb_fpga_shell/cli/table_cmd.h"

namespace Osl::Utils {

extern const PidTableCmdDecl CLEAR_TSI_MAP, CLEAR_PID_LUT, CLEAR_O_PID_MAP;
extern const IoTableCmdDecl CLEAR_IP_LUT, CLEAR_IP_OUT_MAP, CLEAR_PHYS_OUT_MAP, CLEAR_PHYS_IN_MAP;

// clang-format off
class ResetTSIMAPCmd          : public TableCmd<CLEAR_TSI_MAP>      { using TableCmd::TableCmd; };
class ResetPIDLUTCmd          : public TableCmd<CLEAR_PID_LUT>      { using TableCmd::TableCmd; };
class ResetOPIDMAPCmd         : public TableCmd<CLEAR_O_PID_MAP>    { using TableCmd::TableCmd; };
class ResetIPLUTCmd           : public TableCmd<CLEAR_IP_LUT>       { using TableCmd::TableCmd; };
class ResetIPOUTMAPCmd        : public TableCmd<CLEAR_IP_OUT_MAP>   { using TableCmd::TableCmd; };
class ResetPHYSOUTMAPCmd      : public TableCmd<CLEAR_PHYS_OUT_MAP> { using TableCmd::TableCmd; };
class ResetPHYSINMAPCmd       : public TableCmd<CLEAR_PHYS_IN_MAP>  { using TableCmd::TableCmd; };
// clang-format on

/// The family's rows of the registry, in the order in which `list` shows them.
std::span<const CommandRow> tableClearCommands();

} // namespace Osl::Utils
