#pragma once

#include "zeb_fpga_shell/cli/table_cmd.h"

namespace Osl::Utils {

extern const TableCmdDecl READ_IP_LUT, READ_TSI_MAP, READ_PID_LUT, READ_O_PID_MAP, READ_PHYS_OUT_MAP, READ_PHYS_IN_MAP,
    READ_IP_OUT_MAP;

using ReadIPLUTCmd = DeclaredTableCmd<READ_IP_LUT>;
using ReadTSIMAPCmd = DeclaredTableCmd<READ_TSI_MAP>;
using ReadPIDLUTCmd = DeclaredTableCmd<READ_PID_LUT>;
using ReadOPIDMAPCmd = DeclaredTableCmd<READ_O_PID_MAP>;
using ReadPHYSOUTMAPCmd = DeclaredTableCmd<READ_PHYS_OUT_MAP>;
using ReadPHYSINMAPCmd = DeclaredTableCmd<READ_PHYS_IN_MAP>;
using ReadIPOutCmd = DeclaredTableCmd<READ_IP_OUT_MAP>;

} // namespace Osl::Utils
