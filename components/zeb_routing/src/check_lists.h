#pragma once

#include <osl/zeb_routing/check.h>
#include <osl/zeb_routing/tables.h>

#include <vector>

namespace Osl::ZebRouting {

/// Looks at the replication lists as they lie in the tables.
void checkLists(const Tables& tables, std::vector<Finding>& findings);

} // namespace Osl::ZebRouting
