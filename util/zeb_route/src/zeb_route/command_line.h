#pragma once

#include "zeb_route/command.h"

#include <string>

namespace Osl::ZebRoute {

/// What a command line asks for.
struct Request
{
    const Command* command = nullptr; ///< null: only `text` is to be printed
    Settings settings;
    std::string text; ///< help or version
};

/// Reads a command line. Raises UsageError.
Request parseCommandLine(int argc, const char* const* argv);

} // namespace Osl::ZebRoute
