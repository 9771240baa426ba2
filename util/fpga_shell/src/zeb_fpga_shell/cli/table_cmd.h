#pragma once

#include "zeb_fpga_shell/cli/zeb_fpga_openclose_cmd.h"

#include <iostream>
#include <memory>
#include <span>
#include <type_traits>

namespace Osl::Utils {

/// READ prints to the output stream. EDIT has the device for itself, and prints what the user should note to standard
/// error.
enum class TableAccess { READ, EDIT };

/// All that tells one command on a routing table from the next, but for the texts of the registry.
struct TableCmdDecl
{
    TableAccess access;
    std::span<const OptionDecl> options; ///< besides the help option
    /// Works on the table with the parsed options; raises what goes wrong.
    void (*run)(const Options& options, const std::shared_ptr<Drivers::IMemIf>& memory, std::ostream& out);
};

/// The same with the block that holds the table: `Base` opens its device.
template <class Base>
struct BlockTableCmdDecl : TableCmdDecl
{
    using OpenCloseCmd = Base;
};
using PidTableCmdDecl = BlockTableCmdDecl<PIDLUTOpenCloseCmd>;
using IoTableCmdDecl = BlockTableCmdDecl<IPLUTOpenCloseCmd>;

/// A command on one routing table, declared by a BlockTableCmdDecl with static storage. The registry can make one of it
/// as it stands; those that have a name of their own derive from it.
template <const auto& DECL>
class TableCmd : public std::remove_cvref_t<decltype(DECL)>::OpenCloseCmd
{
    using Base = typename std::remove_cvref_t<decltype(DECL)>::OpenCloseCmd;

public:
    using Base::Base;

    void addOptions(Options& options) override
    {
        options.add(DECL.options);
        Base::addOptions(options);
    }

protected:
    int doFpgaCommand(Options& options, std::ostream& out, std::istream&) override
    {
        if (DECL.access == TableAccess::READ) {
            DECL.run(options, this->getContainedMemIf(), out);
        } else {
            const LinuxCppUtil::FileLock lock = this->lockDevice();
            DECL.run(options, this->getContainedMemIf(), std::cerr);
        }
        return 0;
    }
};

} // namespace Osl::Utils
