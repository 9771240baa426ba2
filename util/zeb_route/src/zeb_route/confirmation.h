#pragma once

#include "zeb_route/command.h"

#include <osl/linutils/raii_filedescriptors.h>

#include <chrono>
#include <string_view>

namespace Osl::ZebRoute {

/// The question whether a change shall stay, asked on the terminal. From its making on the program endures (see
/// endurance.h) until it can take the change back.
class Confirmation
{
public:
    /// Raises UsageError when there is no terminal.
    Confirmation();

    /// Whether the user answers "yes" or "y" in time, and before anything asks the program to stop.
    bool isGiven(std::chrono::seconds time, const Surroundings& around);

private:
    LinuxCppUtil::UniqueFD m_Terminal;
};

} // namespace Osl::ZebRoute
