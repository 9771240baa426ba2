#pragma once

#include <osl/zeb_routing/facts.h>
#include <osl/zeb_routing/problems.h>

#include <string>
#include <string_view>

namespace Osl::ZebRouting {

/// {"inputs": […], "outputs": […], "filters": […], "routes": […], "lists": […]}, a statement a line; "filters" is
/// left out where the routing says nothing about them.
std::string toJson(const Routing& routing);
/// {"removed": {…}, "added": {…}}
std::string toJson(const Difference& difference);

/// Reads the form of toJson(). Raises SourceError with everything that is wrong, up to MAX_PROBLEMS.
Routing parseJson(std::string_view text);

} // namespace Osl::ZebRouting
