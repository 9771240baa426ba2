#pragma once

#include "zeb_fpga_shell/parsed_shell_cmd.h"

#include <functional>
#include <istream>
#include <map>
#include <ostream>
#include <string>
#include <vector>

namespace Osl::Utils {

/// A named group of commands of the interactive shell.
class ShellCmdModule
{
public:
    /// Carries a command out; false makes the shell say that it could not execute the line.
    using Handler = std::function<bool(const ParsedShellCmd&, std::istream&, std::ostream&)>;

    struct CommandInfo
    {
        std::string moduleName;
        std::string description;
        std::string name;
    };

    explicit ShellCmdModule(std::string name);
    virtual ~ShellCmdModule() = default;
    ShellCmdModule(const ShellCmdModule&) = delete;
    ShellCmdModule& operator=(const ShellCmdModule&) = delete;

    /// `name` in lower case, as the shell hands lines over. Raises ShellError when the module has it already.
    void addCommand(const std::string& name, const std::string& usage, const std::string& description, Handler handler);

    bool hasCommand(const std::string& name) const;

    /// In ascending order of the names.
    std::vector<CommandInfo> getCommands() const;

    /// Runs the command, or shows its usage when its first argument asks for help. 0: the module has no such command
    /// or its handler returned false. What a handler raises passes through.
    int execute(const ParsedShellCmd& cmd, std::istream& in, std::ostream& out);

    const std::string& getName() const { return m_Name; }

private:
    struct Entry
    {
        Handler handler;
        std::string usage;
        std::string description;
    };

    std::map<std::string, Entry> m_Commands;
    std::string m_Name;
};

} // namespace Osl::Utils
