#include "zeb_route/change_cmds.h"
#include "zeb_route/command.h"
#include "zeb_route/rates_cmd.h"
#include "zeb_route/read_cmds.h"
#include "zeb_route/scan_cmd.h"

#include <array>

namespace Osl::ZebRoute {

std::span<const Command> commands()
{
    static const std::array ALL{SHOW, DIFF, CHECK, TRACE, GRAPH, APPLY, PATCH, ADD, DEL, RATES, SCAN};
    return ALL;
}

} // namespace Osl::ZebRoute
