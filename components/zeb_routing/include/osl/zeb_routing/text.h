#pragma once

#include <osl/zeb_routing/facts.h>
#include <osl/zeb_routing/problems.h>

#include <string>
#include <string_view>

namespace Osl::ZebRouting {

/// One statement a line, a route with all its destinations.
std::string toText(const Routing& routing);
/// "-" and a fact in each line, then "+" and a fact; only one destination in a line.
std::string toText(const Difference& difference);

/// Reads statements. Raises SourceError with everything that is wrong, up to MAX_PROBLEMS.
Routing parseText(std::string_view text);

} // namespace Osl::ZebRouting
