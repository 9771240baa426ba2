#pragma once

#include "zeb_fpga_shell/cli/cli_cmd.h"

#include <string>
#include <vector>

namespace Osl::Utils {

/// A command and its options, as the registry and the declarations have them.
struct CommandReference
{
    std::string name;
    std::string description;
    std::vector<OptionDecl> options; ///< in the order of the help text
};

/// The section of the manual page (man macros) on `command`. Leaves out the help option, which all commands have.
std::string manualSection(const CommandReference& command);

/// The branch of the completion script's choice by command.
std::string completionBranch(const CommandReference& command);

} // namespace Osl::Utils
