#pragma once

#include <functional>
#include <string>

namespace Osl::VirtualBoard {

/// Takes a line about something on which real hardware would choke.
using Complain = std::function<void(const std::string& what)>;

} // namespace Osl::VirtualBoard
