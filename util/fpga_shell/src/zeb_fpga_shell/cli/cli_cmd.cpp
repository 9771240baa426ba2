#include "zeb_fpga_shell/cli/cli_cmd.h"

#include <iostream>
#include <utility>

namespace Osl::Utils {

CliCmd::CliCmd(std::string name, std::string usage, std::string description, StopFlag stopFlag)
    : m_Name(std::move(name)),
      m_Usage(std::move(usage)),
      m_Description(std::move(description)),
      m_StopFlag(std::move(stopFlag))
{
}

void CliCmd::addOptions(Options& options) { options.add(HELP_OPTION); }

int CliCmd::run(int argc, char** argv, std::ostream& out, std::istream& in)
{
    Options options(getName(), getDescription());
    addOptions(options);
    if (!options.parse(argc, argv)) {
        std::cerr << "Invalid options detected. See help.\n" << options.help() << std::endl;
        return -1;
    }
    if (options.count("help") != 0) {
        out << options.help() << std::endl;
        return 0;
    }
    return doCommand(options, out, in);
}

} // namespace Osl::Utils
