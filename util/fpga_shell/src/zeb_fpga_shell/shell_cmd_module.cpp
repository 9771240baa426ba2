#include "zeb_fpga_shell/shell_cmd_module.h"

#include "zeb_fpga_shell/shell_error.h"

#include <utility>

namespace Osl::Utils {
namespace {

bool asksForHelp(const ParsedShellCmd& cmd)
{
    if (cmd.getArguments().empty())
        return false;
    const std::string& first = cmd.getArguments().front();
    return first == "help" || first == "-h" || first == "--help";
}

} // namespace

ShellCmdModule::ShellCmdModule(std::string name) : m_Name(std::move(name)) {}

void ShellCmdModule::addCommand(const std::string& name, const std::string& usage, const std::string& description,
                                Handler handler)
{
    if (!m_Commands.try_emplace(name, Entry{std::move(handler), usage, description}).second)
        OSL_RAISE(ShellError, "Failed adding redundant command (" + name + ")");
}

bool ShellCmdModule::hasCommand(const std::string& name) const { return m_Commands.contains(name); }

std::vector<ShellCmdModule::CommandInfo> ShellCmdModule::getCommands() const
{
    std::vector<CommandInfo> commands;
    for (const auto& [name, entry] : m_Commands)
        commands.push_back({.moduleName = m_Name, .description = entry.description, .name = name});
    return commands;
}

int ShellCmdModule::execute(const ParsedShellCmd& cmd, std::istream& in, std::ostream& out)
{
    const auto command = m_Commands.find(cmd.getName());
    if (command == m_Commands.end())
        return 0;
    // The shell does not echo the line end that submitted the line.
    out << '\n';
    if (asksForHelp(cmd)) {
        out << command->second.usage << '\n';
        return 1;
    }
    return command->second.handler(cmd, in, out) ? 1 : 0;
}

} // namespace Osl::Utils
