#pragma once

#include <osl/zeb_routing/facts.h>
#include <osl/zeb_routing/tables.h>

namespace Osl::ZebRouting {

/// What the rows say, whatever words they hold: lists are cut where they loop, of rows with one key the first counts.
Routing factsOf(const Tables& tables);

/// Tables that say exactly these facts and nothing else. Raises RoutingError, naming table and rows, when there are not
/// enough rows.
Tables compile(const Routing& routing);

} // namespace Osl::ZebRouting
