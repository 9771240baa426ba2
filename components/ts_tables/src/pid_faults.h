#pragma once

#include "fault_list.h"
#include "pid_state.h"

#include <osl/ts_tables/contents.h>

#include <cstdint>
#include <set>
#include <vector>

namespace Osl::Ts {

/// All PIDs that services and conditional access name.
std::set<uint16_t> pidsNamedBy(const Contents& contents);

/// Adds what is wrong with the PIDs, by what the tables say of them; `states` are indexed by PID.
void addPidFaults(FaultList& faults, const Contents& contents, const std::vector<PidState>& states);

} // namespace Osl::Ts
