#pragma once

#include "zeb_route/command.h"

namespace Osl::ZebRoute {

/// What is in a transport stream.
extern const Command SCAN;

} // namespace Osl::ZebRoute
