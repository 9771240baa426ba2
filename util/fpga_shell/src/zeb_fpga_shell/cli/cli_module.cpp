#include "zeb_fpga_shell/cli/cli_module.h"

#include "zeb_fpga_shell/shell_error.h"

#include <osl/cpputils/stringutils.h>

#include <iostream>
#include <utility>

namespace Osl::Utils {

void CliModule::addCmd(std::unique_ptr<CliCmd> command)
{
    const std::string name = command->getName();
    if (m_Commands.contains(name) || name == "list" || name == "help")
        OSL_RAISE(ShellError,
                  "Redundant command strings are not allowed. \"" + name + "\" is already added to the CliModule.");
    if (name.empty())
        OSL_RAISE(ShellError, "Empty cmd strings are not allowed.");
    m_Commands.emplace(name, std::move(command));
}

int CliModule::run(int argc, char** argv, std::ostream& out, std::istream& in)
{
    const std::string word = argc < 2 ? "" : CppUtil::toLower(argv[1]);
    if (word == "list") {
        list(out);
        return 0;
    }
    if (word == "help" || word == "-h" || word == "--help") {
        help(out);
        return 0;
    }
    const auto found = m_Commands.find(word);
    if (found == m_Commands.end()) {
        std::cerr << "Unknown command: \"" << word << "\". Exiting." << std::endl;
        return -1;
    }
    return found->second->run(argc, argv, out, in);
}

void CliModule::list(std::ostream& out) const
{
    for (const auto& [name, command] : m_Commands)
        out << name << '\n' << command->getDescription() << "\n\n";
}

} // namespace Osl::Utils
