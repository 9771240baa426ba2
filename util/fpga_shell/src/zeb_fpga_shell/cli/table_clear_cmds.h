#pragma once

#include "zeb_fpga_shell/cli/table_cmd.h"

namespace Osl::Utils {

extern const TableCmdDecl CLEAR_TSI_MAP, CLEAR_PID_LUT, CLEAR_O_PID_MAP, CLEAR_IP_LUT, CLEAR_IP_OUT_MAP,
    CLEAR_PHYS_OUT_MAP, CLEAR_PHYS_IN_MAP;

using ResetTSIMAPCmd = DeclaredTableCmd<CLEAR_TSI_MAP>;
using ResetPIDLUTCmd = DeclaredTableCmd<CLEAR_PID_LUT>;
using ResetOPIDMAPCmd = DeclaredTableCmd<CLEAR_O_PID_MAP>;
using ResetIPLUTCmd = DeclaredTableCmd<CLEAR_IP_LUT>;
using ResetIPOUTMAPCmd = DeclaredTableCmd<CLEAR_IP_OUT_MAP>;
using ResetPHYSOUTMAPCmd = DeclaredTableCmd<CLEAR_PHYS_OUT_MAP>;
using ResetPHYSINMAPCmd = DeclaredTableCmd<CLEAR_PHYS_IN_MAP>;

} // namespace Osl::Utils
