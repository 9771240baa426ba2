#pragma once

#include "zeb_fpga_shell/cli/cli_cmd.h"

#include <string>
#include <utility>

namespace Osl::Utils {

/// Base of the commands that work on the multicast NOT filter of the network interface.
class McNotLutCmd : public CliCmd
{
public:
    /// `root` precedes the path of every attribute file.
    McNotLutCmd(std::string name, std::string usage, std::string description, std::string root = {})
        : CliCmd(std::move(name), std::move(usage), std::move(description)),
          m_Root(std::move(root))
    {
    }

protected:
    const std::string& root() const { return m_Root; }

private:
    std::string m_Root;
};

/// Lists the addresses.
class McNotLutReadCmd : public McNotLutCmd
{
public:
    using McNotLutCmd::McNotLutCmd;
    void addOptions(Options& options) override;
    int doCommand(Options& options, std::ostream& out, std::istream& in) override;
};

/// Adds or clears one address. Its refusals go to the output stream.
class McNotLutWriteCmd : public McNotLutCmd
{
public:
    using McNotLutCmd::McNotLutCmd;
    void addOptions(Options& options) override;
    int doCommand(Options& options, std::ostream& out, std::istream& in) override;
};

} // namespace Osl::Utils
