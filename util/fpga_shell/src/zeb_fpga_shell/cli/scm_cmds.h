#pragma once

#include "zeb_fpga_shell/cli/zeb_fpga_openclose_cmd.h"

namespace Osl::Utils {

/// Base of the commands that work on the scrambler. The memory is mapped in the size that the kernel driver gives.
class ScmCmd : public ZEBFpgaOpenCloseCmd
{
public:
    using ZEBFpgaOpenCloseCmd::ZEBFpgaOpenCloseCmd;

    void addOptions(Options& options) override { options.add(HELP_OPTION); }

protected:
    /// Raises ShellError when the size cannot be read.
    DeviceSettings getDeviceSettings(const Options& options) const override;
};

/// Lists entries of the PID LUT.
class ScmReadPidlut : public ScmCmd
{
public:
    using ScmCmd::ScmCmd;
    void addOptions(Options& options) override;

protected:
    int doFpgaCommand(Options& options, std::ostream& out, std::istream& in) override;
};

/// Adds, replaces or clears one entry of the PID LUT.
class ScmWritePidlut : public ScmCmd
{
public:
    using ScmCmd::ScmCmd;
    void addOptions(Options& options) override;

protected:
    int doFpgaCommand(Options& options, std::ostream& out, std::istream& in) override;
};

/// Clears all entries of the PID LUT.
class ScmClearPidlut : public ScmCmd
{
public:
    using ScmCmd::ScmCmd;

protected:
    int doFpgaCommand(Options& options, std::ostream& out, std::istream& in) override;
};

/// Shows the common keys and initialisation vectors.
class ScmReadKeys : public ScmCmd
{
public:
    using ScmCmd::ScmCmd;

protected:
    int doFpgaCommand(Options& options, std::ostream& out, std::istream& in) override;
};

/// Writes common keys and initialisation vectors: none unless all that are given are valid. The value "-" stands for a
/// line of the input stream, since the arguments of a process are open to every user of the machine.
class ScmWriteKeys : public ScmCmd
{
public:
    using ScmCmd::ScmCmd;
    void addOptions(Options& options) override;

protected:
    int doFpgaCommand(Options& options, std::ostream& out, std::istream& in) override;
};

} // namespace Osl::Utils
