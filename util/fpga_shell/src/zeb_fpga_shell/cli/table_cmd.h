#pragma once

#include "zeb_fpga_shell/cli/zeb_fpga_openclose_cmd.h"

#include <iosfwd>
#include <memory>
#include <span>

namespace Osl::Utils {

/// All that tells one command on a routing table from the next, but for the texts of the registry.
struct TableCmdDecl
{
    const Drivers::Zeb::MappedDevice& device;
    std::span<const OptionDecl> options; ///< besides the help option
    /// Works on the table with the parsed options; raises what goes wrong.
    void (*run)(const Options& options, const std::shared_ptr<Drivers::IMemIf>& memory, std::ostream& out);
};

/// A command on one routing table.
class TableCmd : public FixedDeviceCmd
{
public:
    TableCmd(const TableCmdDecl& decl, std::string name, std::string usage, std::string description)
        : FixedDeviceCmd(decl.device, std::move(name), std::move(usage), std::move(description)),
          m_Decl(decl)
    {
    }

    void addOptions(Options& options) override
    {
        options.add(m_Decl.options);
        FixedDeviceCmd::addOptions(options);
    }

protected:
    int doFpgaCommand(Options& options, std::ostream& out, std::istream&) override
    {
        m_Decl.run(options, getContainedMemIf(), out);
        return 0;
    }

private:
    const TableCmdDecl& m_Decl;
};

/// TableCmd as the registry makes it.
template <const TableCmdDecl& DECL>
class DeclaredTableCmd final : public TableCmd
{
public:
    DeclaredTableCmd(std::string name, std::string usage, std::string description)
        : TableCmd(DECL, std::move(name), std::move(usage), std::move(description))
    {
    }
};

} // namespace Osl::Utils
