#pragma once

#include "zeb_fpga_shell/cli/cli_cmd.h"
#include "zeb_fpga_shell/cli/zeb_fpga_openclose_cmd.h"
#include "zeb_fpga_shell/pktio/timing.h"

#include <cstdint>
#include <string>
#include <vector>

namespace Osl::Utils {

/// Bit rate of the packet port, from a byte counter of its kernel driver.
class PKTIOBitRateMeas : public CliCmd
{
public:
    PKTIOBitRateMeas(std::string name, std::string usage, std::string description, StopFlag stopFlag,
                     Timing timing = Timing::real());

    void addOptions(Options& options) override;
    int doCommand(Options& options, std::ostream& out, std::istream& in) override;

protected:
    /// The attribute file with the decimal count.
    virtual std::string counterPath(const Options& options) const = 0;

private:
    Timing m_Timing;
};

class PKTIORxBitRateMeas : public PKTIOBitRateMeas
{
public:
    using PKTIOBitRateMeas::PKTIOBitRateMeas;

protected:
    std::string counterPath(const Options& options) const override;
};

class PKTIOTxBitRateMeas : public PKTIOBitRateMeas
{
public:
    using PKTIOBitRateMeas::PKTIOBitRateMeas;

protected:
    std::string counterPath(const Options& options) const override;
};

/// Bit rates of transport stream inputs and outputs, from the FPGA's packet counters.
class TSOTSIBitRateMeas : public PIDLUTOpenCloseCmd
{
public:
    TSOTSIBitRateMeas(std::string name, std::string usage, std::string description, StopFlag stopFlag,
                      Timing timing = Timing::real());

    void addOptions(Options& options) override;

protected:
    int doFpgaCommand(Options& options, std::ostream& out, std::istream& in) override;

private:
    Timing m_Timing;
};

} // namespace Osl::Utils
