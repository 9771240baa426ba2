#pragma once

#include "zeb_fpga_shell/cli/cli_cmd.h"

#include <memory>

namespace Osl::Utils {

/// A command as the user sees it, and how it is made.
struct CommandRow
{
    const char* name;
    const char* usage;
    const char* description;
    std::unique_ptr<CliCmd> (*make)(const CommandRow& row, const StopFlag& stopFlag);
};

template <class Command>
std::unique_ptr<CliCmd> make(const CommandRow& row, const StopFlag& stopFlag)
{
    return std::make_unique<Command>(row.name, row.usage, row.description, stopFlag);
}

} // namespace Osl::Utils
