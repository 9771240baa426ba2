#pragma once

#include "zeb_fpga_shell/cli/table_cmd.h"

namespace Osl::Utils {

// Each checks every value that it is going to use before it writes the first word.
extern const TableCmdDecl WRITE_IP_LUT, WRITE_PHYS_OUT_MAP, WRITE_PHYS_IN_MAP, WRITE_PID_LUT, WRITE_TSI_MAP,
    WRITE_O_PID_MAP, WRITE_FILTER_TABLE, WRITE_IP_OUT_MAP;

using WriteIPLUTEntryCmd = DeclaredTableCmd<WRITE_IP_LUT>;
using WritePHYSOUTMAPEntryCmd = DeclaredTableCmd<WRITE_PHYS_OUT_MAP>;
using WritePHYSINMAPEntryCmd = DeclaredTableCmd<WRITE_PHYS_IN_MAP>;
using WritePIDLUTEntryCmd = DeclaredTableCmd<WRITE_PID_LUT>;
using WriteTSIMAPEntryCmd = DeclaredTableCmd<WRITE_TSI_MAP>;
using WriteOPIDMAPEntryCmd = DeclaredTableCmd<WRITE_O_PID_MAP>;
using WriteFILTTABEntryCmd = DeclaredTableCmd<WRITE_FILTER_TABLE>;
using WriteIPOUTEntryCmd = DeclaredTableCmd<WRITE_IP_OUT_MAP>;

} // namespace Osl::Utils
