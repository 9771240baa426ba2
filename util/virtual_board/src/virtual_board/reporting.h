#pragma once

#include <ctime>
#include <functional>
#include <string>

namespace Osl::VirtualBoard {

/// Takes a line about something that real hardware would choke on.
using Complain = std::function<void(const std::string& what)>;

/// What every message of the board starts with, behind its time where it has one.
inline constexpr const char* MESSAGE_START = "virtual board: ";

/// Writes a message to standard error.
void tell(const std::string& what);

/// "2026-01-31 20:15:00", in the machine's time zone.
std::string dateOf(std::time_t moment);

/// From now on standard error is the file at `path`, which is emptied first, and messages have the time before them.
/// Raises BoardError.
void tellInFile(const std::string& path);

} // namespace Osl::VirtualBoard
