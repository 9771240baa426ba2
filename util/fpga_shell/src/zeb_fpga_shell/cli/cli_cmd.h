#pragma once

#include "zeb_fpga_shell/cli/options.h"
#include "zeb_fpga_shell/stop_flag.h"

#include <osl/linutils/file_lock.h>

#include <iosfwd>
#include <string>

namespace Osl::Utils {

/// A command of command mode. A derived command declares its options and implements its body; parsing, help and option
/// errors are the same for all.
class CliCmd
{
public:
    /// `usage` is a short hint; `description` heads the help text and is shown in the command list. `stopFlag` is the
    /// one that the command polls where it may run or wait for long; empty: nothing stops it.
    CliCmd(std::string name, std::string usage, std::string description, StopFlag stopFlag = {});
    virtual ~CliCmd() = default;
    CliCmd(const CliCmd&) = delete;
    CliCmd& operator=(const CliCmd&) = delete;

    virtual std::string getName() const { return m_Name; }
    virtual std::string getUsage() const { return m_Usage; }
    virtual std::string getDescription() const { return m_Description; }

    /// Parses the whole argument vector and runs the body, or prints the help. Returns the exit status: 0, or -1 for
    /// failures that have been reported on standard error. Raises ShellError for option errors; what the body raises
    /// passes through.
    virtual int run(int argc, char** argv, std::ostream& out, std::istream& in);

    /// Declares the options, the help option included; an overriding command does not call this one.
    virtual void addOptions(Options& options);

    /// The body. Returns the exit status.
    virtual int doCommand(Options& options, std::ostream& out, std::istream& in) = 0;

protected:
    /// True once the user has asked to stop.
    bool stopRequested() const { return m_StopFlag && *m_StopFlag; }

    /// How long a command waits for another one that edits the same table.
    LinuxCppUtil::LockPatience editPatience() const
    {
        return {std::chrono::seconds(10), [this] { return stopRequested(); }};
    }

private:
    std::string m_Name;
    std::string m_Usage;
    std::string m_Description;
    StopFlag m_StopFlag;
};

} // namespace Osl::Utils
