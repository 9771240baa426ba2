#pragma once

#include "zeb_route/board.h"
#include "zeb_route/command.h"

#include <osl/ts_tables/contents.h>

#include <chrono>
#include <cstdint>
#include <functional>

namespace Osl::ZebRoute {

/// What to find out of a stream input.
struct ScanTask
{
    uint8_t tsi = 0;
    std::chrono::milliseconds time{1000}; ///< for which each PID is listened to
    bool onlyTables = false;              ///< nothing else is listened to
    /// Asked whenever tables were read: whether they say all that is wanted. Empty: never.
    std::function<bool(const Ts::Contents&)> isEnough{};
};

/// The whole of it: locks the board, saves its tables as the settings say, and scans.
Ts::Contents scanInput(uint8_t tsi, const Settings& settings, Surroundings& around);

/// Listens to a stream input of a live board and says what is in it. `before` is what the board holds, without what a
/// killed scan has left; the caller has the lock, and endures (endurance.h). Copies of packets go to the processor
/// meanwhile, see osl/zeb_routing/listening.h, and no packet goes elsewhere than before. When this ends, however it
/// does, all rows are as in `before` again; where that fails, the error says so.
Ts::Contents scanBoard(Board& board, const ZebRouting::Tables& before, const ScanTask& task, Surroundings& around);

} // namespace Osl::ZebRoute
