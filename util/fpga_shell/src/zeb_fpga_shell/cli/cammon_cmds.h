#pragma once

#include "zeb_fpga_shell/cli/cli_cmd.h"

#include <osl/userspace_drivers/drivers/zeb/attr/cammonitor.h>

namespace Osl::Utils {

/// Base of the commands that work on the monitor of the CAM slot that the user names.
class CamMonCmd : public CliCmd
{
public:
    using CliCmd::CliCmd;

protected:
    Drivers::Zeb::CamMonitor monitorOf(const Options& options) const;
};

/// Lists the watched PIDs with their counters.
class CamMonReadCmd : public CamMonCmd
{
public:
    using CamMonCmd::CamMonCmd;
    void addOptions(Options& options) override;
    int doCommand(Options& options, std::ostream& out, std::istream& in) override;
};

/// Watches one PID, or stops watching it.
class CamMonWriteCmd : public CamMonCmd
{
public:
    using CamMonCmd::CamMonCmd;
    void addOptions(Options& options) override;
    int doCommand(Options& options, std::ostream& out, std::istream& in) override;
};

/// Stops watching all PIDs.
class CamMonClearCmd : public CamMonCmd
{
public:
    using CamMonCmd::CamMonCmd;
    void addOptions(Options& options) override;
    int doCommand(Options& options, std::ostream& out, std::istream& in) override;
};

} // namespace Osl::Utils
