#include "zeb_fpga_shell/cli/table_clear_cmds.h"

#include <osl/userspace_drivers/drivers/zeb/ts/pidlutmapdriver.h>
#include <osl/userspace_drivers/drivers/zeb/ts/tsiodriver.h>

#include <array>

namespace Osl::Utils {
namespace {

using namespace Drivers::Zeb;

template <class Driver, auto CLEAR, auto... ARGUMENTS>
void clearTable(const Options&, const std::shared_ptr<Drivers::IMemIf>& memory, std::ostream&)
{
    (Driver(memory).*CLEAR)(ARGUMENTS...);
}

template <auto CLEAR>
constexpr PidTableCmdDecl PID_CLEAR{{TableAccess::EDIT, {}, &clearTable<PidLutMapDriver, CLEAR>}};
template <auto CLEAR, auto... ARGUMENTS>
constexpr IoTableCmdDecl IO_CLEAR{{TableAccess::EDIT, {}, &clearTable<TsIoDriver, CLEAR, ARGUMENTS...>}};

constexpr bool BOTH_BANKS = true;

} // namespace

const PidTableCmdDecl CLEAR_TSI_MAP = PID_CLEAR<&PidLutMapDriver::clearTsiMap>;
const PidTableCmdDecl CLEAR_PID_LUT = PID_CLEAR<&PidLutMapDriver::clearPidLut>;
const PidTableCmdDecl CLEAR_O_PID_MAP = PID_CLEAR<&PidLutMapDriver::clearPidMap>;
const IoTableCmdDecl CLEAR_IP_LUT = IO_CLEAR<&TsIoDriver::clearIpInLut, BOTH_BANKS>;
const IoTableCmdDecl CLEAR_IP_OUT_MAP = IO_CLEAR<&TsIoDriver::clearIpOutMap>;
const IoTableCmdDecl CLEAR_PHYS_OUT_MAP = IO_CLEAR<&TsIoDriver::clearPhysOutMap>;
const IoTableCmdDecl CLEAR_PHYS_IN_MAP = IO_CLEAR<&TsIoDriver::clearPhysInMap>;

std::span<const CommandRow> tableClearCommands()
{
    // clang-format off
    static constexpr std::array COMMANDS{
        CommandRow{"clrtsimap", "See clrtsimap -h",
                   "Resets the entire TSI MAP to the default values",
                   make<ResetTSIMAPCmd>},
        CommandRow{"clrpidlut", "See clrpidlut -h",
                   "Resets the entire PID LUT (both LUTs) to the default values",
                   make<ResetPIDLUTCmd>},
        CommandRow{"clropidmap", "See clropidmap -h",
                   "Resets the entire OPID MAP to the default values",
                   make<ResetOPIDMAPCmd>},
        CommandRow{"clriplut", "See clriplut -h",
                   "Resets the entire IP LUT (both LUTs) to the default values",
                   make<ResetIPLUTCmd>},
        CommandRow{"clripoutmap", "See clripoutmap -h",
                   "Resets the entire IP TS OUT MAP to the default values",
                   make<ResetIPOUTMAPCmd>},
        CommandRow{"clrphyomap", "See clrphyomap -h",
                   "Resets the entire PHYS TS OUT MAP to the default values",
                   make<ResetPHYSOUTMAPCmd>},
        CommandRow{"clrphyimap", "See clrphyimap -h",
                   "Resets the entire PHYS TS IN MAP to the default values",
                   make<ResetPHYSINMAPCmd>},
    };
    // clang-format on
    return COMMANDS;
}

} // namespace Osl::Utils
