#pragma once

#include "zeb_route/command.h"

namespace Osl::ZebRoute {

// The commands that only read; see command.h for what they answer.
extern const Command SHOW, DIFF, CHECK, TRACE, GRAPH;

} // namespace Osl::ZebRoute
