#pragma once

#include "zeb_route/board.h"
#include "zeb_route/command.h"

#include <osl/zeb_routing/source.h>

#include <functional>
#include <string>
#include <vector>

namespace Osl::ZebRoute {

/// A change of what the board routes.
struct Change
{
    /// What it shall route, by what it routes now, and what the user should know of that.
    std::function<ZebRouting::Routing(Board& board, const ZebRouting::Source& before, std::vector<std::string>& notes)>
        wanted;
    /// What the user is told who has to go on after a failure.
    const char* howToComplete;
    /// Whether `wanted` listens to the board's streams, which takes rows for a time.
    bool listens = false;
};

/// Changes the board as the settings say (`dryRun`, `backup`, `waitSeconds`, `confirmSeconds`), and prints what has
/// changed. Rows that a killed scan has left go as well. Answers the exit status. Whatever it raises, each packet is
/// routed as before or as wanted.
int changeBoard(const Change& change, const Settings& settings, Surroundings& around);

} // namespace Osl::ZebRoute
