#pragma once

#include <functional>
#include <string>

namespace Osl::VirtualBoard {

/// Takes a line about something that real hardware would choke on.
using Complain = std::function<void(const std::string& what)>;

} // namespace Osl::VirtualBoard
