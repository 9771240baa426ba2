#include "zeb_fpga_shell/cli/table_clear_cmds.h"

#include <osl/userspace_drivers/drivers/zeb/ts/pidlutmapdriver.h>
#include <osl/userspace_drivers/drivers/zeb/ts/tsiodriver.h>

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

} // namespace Osl::Utils
