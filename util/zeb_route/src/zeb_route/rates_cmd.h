#pragma once

#include "zeb_route/command.h"

namespace Osl::ZebRoute {

/// Measures what comes in and goes out.
extern const Command RATES;

} // namespace Osl::ZebRoute
