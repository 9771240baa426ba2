#pragma once

#include "zeb_fpga_shell/cli/command_row.h"
#include "zeb_fpga_shell/cli/table_cmd.h"

namespace Osl::Utils {

// Each checks every value that it is going to use before it writes the first word.
extern const PidTableCmdDecl WRITE_PID_LUT, WRITE_TSI_MAP, WRITE_O_PID_MAP, WRITE_FILTER_TABLE;
extern const IoTableCmdDecl WRITE_IP_LUT, WRITE_PHYS_OUT_MAP, WRITE_PHYS_IN_MAP, WRITE_IP_OUT_MAP;

// clang-format off
class WriteIPLUTEntryCmd      : public TableCmd<WRITE_IP_LUT>       { using TableCmd::TableCmd; };
class WritePHYSOUTMAPEntryCmd : public TableCmd<WRITE_PHYS_OUT_MAP> { using TableCmd::TableCmd; };
class WritePHYSINMAPEntryCmd  : public TableCmd<WRITE_PHYS_IN_MAP>  { using TableCmd::TableCmd; };
class WritePIDLUTEntryCmd     : public TableCmd<WRITE_PID_LUT>      { using TableCmd::TableCmd; };
class WriteTSIMAPEntryCmd     : public TableCmd<WRITE_TSI_MAP>      { using TableCmd::TableCmd; };
class WriteOPIDMAPEntryCmd    : public TableCmd<WRITE_O_PID_MAP>    { using TableCmd::TableCmd; };
class WriteFILTTABEntryCmd    : public TableCmd<WRITE_FILTER_TABLE> { using TableCmd::TableCmd; };
class WriteIPOUTEntryCmd      : public TableCmd<WRITE_IP_OUT_MAP>   { using TableCmd::TableCmd; };
// clang-format on

/// The family's rows of the registry, in the order in which `list` shows them.
std::span<const CommandRow> tableWriteCommands();

} // namespace Osl::Utils
