#pragma once

#include "zeb_route/command.h"

namespace Osl::ZebRoute {

// The commands that change the board; see command.h for what they answer.
extern const Command APPLY, PATCH, ADD, DEL;

} // namespace Osl::ZebRoute
