#pragma once

#include "zeb_fpga_shell/cli/cli_cmd.h"

#include <iosfwd>
#include <map>
#include <memory>
#include <string>

namespace Osl::Utils {

/// The commands of command mode, selected by the first program argument in any letter case.
class CliModule
{
public:
    virtual ~CliModule() = default;

    /// Takes ownership. Raises ShellError for an empty, reserved or redundant name.
    void addCmd(std::unique_ptr<CliCmd> command);

    /// Runs the command named by argv[1]; returns the exit status.
    int run(int argc, char** argv, std::ostream& out, std::istream& in);

    /// All commands by name.
    const std::map<std::string, std::unique_ptr<CliCmd>>& commands() const { return m_Commands; }

    /// Writes name and description of every command, sorted by name.
    void list(std::ostream& out) const;
    void help(std::ostream& out) const { list(out); }

private:
    std::map<std::string, std::unique_ptr<CliCmd>> m_Commands;
};

} // namespace Osl::Utils
