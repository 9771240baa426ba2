#pragma once

#include "zeb_route/live_change.h"

#include <span>
#include <string>

namespace Osl::ZebRoute {

/// Whether the words of a statement are about a service: "service 9:1001 to 3 4".
bool isService(std::span<const std::string> words);

// A service stands for the routes of its PMT, its elementary streams and its PCR, which the board is listened to for.
// Both raise UsageError and ZebRouting::SourceError for words that are wrong.

/// Sends a service to more outputs. PIDs that went where the rest of their TSI goes still do.
Change addService(std::span<const std::string> words, const Settings& settings, Surroundings& around);
/// Takes a service away from the outputs that the words name, or from all. PIDs stay that other services need there.
Change delService(std::span<const std::string> words, const Settings& settings, Surroundings& around);

} // namespace Osl::ZebRoute
