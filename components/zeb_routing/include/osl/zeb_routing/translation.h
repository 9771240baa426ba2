#pragma once

#include <osl/zeb_routing/facts.h>
#include <osl/zeb_routing/tables.h>

#include <cstdint>
#include <map>
#include <optional>
#include <vector>

namespace Osl::ZebRouting {

/// What the rows say, whatever words they hold: lists are cut where they loop, of rows with one key the first counts.
Routing factsOf(const Tables& tables);

using Destinations = std::vector<Destination>; ///< sorted, each once

/// All destinations of a route. It is `drop` without outputs and without the processor.
struct RouteGroup
{
    Selector packets;
    Destinations outputs;
    std::optional<uint8_t> filter; ///< of the processor
};
std::vector<RouteGroup> groupsOf(const std::vector<Route>& routes);
/// All destinations of the lists, by number.
std::map<uint16_t, Destinations> groupsOf(const std::vector<List>& lists);

/// Which rows of the O-PID MAP each replication list has, as many as destinations; the first is the list's PIDIDX.
struct ListRows
{
    std::map<Destinations, std::vector<uint16_t>> ofRoutes; ///< each shared by all routes with these outputs
    std::map<uint16_t, std::vector<uint16_t>> numbered;
};
/// Rows for all lists when none is in use yet. Raises RoutingError when there are not enough of them.
ListRows freshRows(const Routing& routing);

/// Tables that say exactly these facts and nothing else, with their lists at the given rows. Raises RoutingError,
/// naming the table, when one has not enough rows.
Tables encode(const Routing& routing, const ListRows& places);
/// The same with fresh rows.
Tables compile(const Routing& routing);

} // namespace Osl::ZebRouting
