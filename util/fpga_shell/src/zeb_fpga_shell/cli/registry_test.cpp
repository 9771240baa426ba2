// Named ahead of their headers, as their users may: an alias of a template could not be.
namespace Osl::Utils {
class PIDLUTOpenCloseCmd;
class IPLUTOpenCloseCmd;
class PKTIOOpenCloseCmd;
class ZEBFpgaCli_read8;
class ReadPIDLUTCmd;
class WriteIPLUTEntryCmd;
class ResetTSIMAPCmd;
class ScmWritePidlut;
} // namespace Osl::Utils

#include "zeb_fpga_shell/cli/scm_cmds.h"
#include "zeb_fpga_shell/cli/table_clear_cmds.h"
#include "zeb_fpga_shell/cli/table_read_cmds.h"
#include "zeb_fpga_shell/cli/table_write_cmds.h"
#include "zeb_fpga_shell/cli/zeb_fpga_memcmds.h"

#include <type_traits>

using namespace Osl::Utils;

namespace {

/// Compiles when `Command` is a command of the block of `OpenCloseCmd` that a user's own command can derive from.
template <class Command, class OpenCloseCmd>
class Derived : public Command
{
    static_assert(std::is_base_of_v<OpenCloseCmd, Command>);
    using Command::Command;
};

template class Derived<PKTIOOpenCloseCmd, ZEBFpgaOpenCloseCmd>;
template class Derived<ZEBFpgaCli_read8, ZEBFpgaOpenCloseCmd>;
template class Derived<ReadPIDLUTCmd, PIDLUTOpenCloseCmd>;
template class Derived<WriteIPLUTEntryCmd, IPLUTOpenCloseCmd>;
template class Derived<ResetTSIMAPCmd, PIDLUTOpenCloseCmd>;
template class Derived<ScmWritePidlut, ScmCmd>;

} // namespace
