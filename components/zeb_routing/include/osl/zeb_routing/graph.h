#pragma once

#include <osl/zeb_routing/facts.h>

#include <string>

namespace Osl::ZebRouting {

/// The routing in Graphviz' language: what feeds each TSI, and one edge to each TSO for all PIDs that go there.
std::string toGraph(const Routing& routing);

} // namespace Osl::ZebRouting
