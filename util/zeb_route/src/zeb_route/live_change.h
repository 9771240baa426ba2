#pragma once

#include "zeb_route/command.h"

#include <osl/zeb_routing/facts.h>

#include <functional>

namespace Osl::ZebRoute {

/// What the board shall route, by what it routes now.
using Wanted = std::function<ZebRouting::Routing(const ZebRouting::Routing& present)>;

/// Changes the board as the settings say (`dryRun`, `backup`, `waitSeconds`, `confirmSeconds`), and prints what has
/// changed. Answers the exit status. Whatever it raises, each packet is routed as before or as wanted; `howToComplete`
/// is what the user is told who has to go on from there.
int changeBoard(const Wanted& wanted, const char* howToComplete, const Settings& settings, Surroundings& around);

} // namespace Osl::ZebRoute
