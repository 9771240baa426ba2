#include "zeb_fpga_shell/cli/bitrate_cmds.h"

#include "zeb_fpga_shell/pktio/bit_rate.h"
#include "zeb_fpga_shell/pktio/stream_rates.h"

#include <osl/linutils/attribute_file.h>
#include <osl/userspace_drivers/drivers/zeb/zeb_attributes.h>

#include <fmt/format.h>

#include <array>
#include <iostream>
#include <limits>
#include <ostream>
#include <utility>

namespace Osl::Utils {
namespace {

constexpr std::array PKTIO_RATE_OPTIONS{
    OptionDecl{"c,continuous", OptionKind::FLAG, "Continuous measurement of the bitrate."},
    OptionDecl{"t,time", OptionKind::NUMBER, "Time between samples in milliseconds.", "1000"},
    OptionDecl{"C,channel", OptionKind::NUMBER, "TS Tx DMA channel device - only applies to Tx measurements"},
    HELP_OPTION,
};

constexpr std::array STREAM_RATE_OPTIONS{
    OptionDecl{"a,all", OptionKind::FLAG, "Measures all active (non-zero packet diff) TSIs and TSOs"},
    OptionDecl{"c,continuous", OptionKind::FLAG, "Continuous meassurement of bitrates."},
    OptionDecl{"f,force_bitsprsec", OptionKind::FLAG, "Forces output in bits/sec."},
    OptionDecl{"t,sample_time", OptionKind::NUMBER, "Time between samples in milliseconds", "1000"},
    OptionDecl{"o,tso", OptionKind::NUMBERS, "TSO of an transport stream output. Multiple may be given"},
    OptionDecl{"i,tsi", OptionKind::NUMBERS, "TSI of an transport stream input. Multiple may be given"},
    HELP_OPTION,
};

std::chrono::milliseconds sampleTime(const Options& options, const std::string& name)
{
    const auto time = options[name].as<uint32_t>();
    if (time == 0)
        OSL_RAISE(CppUtil::InvalidArgumentError, fmt::format("--{}: must be at least 1 ms", name));
    return std::chrono::milliseconds(time);
}

uint64_t readCounter(const std::string& path)
{
    return LinuxCppUtil::readAttributeNumber(path, std::numeric_limits<uint64_t>::max(), "Could not open: {}");
}

} // namespace

PKTIOBitRateMeas::PKTIOBitRateMeas(std::string name, std::string usage, std::string description, StopFlag stopFlag,
                                   Timing timing)
    : CliCmd(std::move(name), std::move(usage), std::move(description), std::move(stopFlag)),
      m_Timing(std::move(timing))
{
}

void PKTIOBitRateMeas::addOptions(Options& options) { options.add(PKTIO_RATE_OPTIONS); }

int PKTIOBitRateMeas::doCommand(Options& options, std::ostream& out, std::istream&)
{
    const std::chrono::milliseconds time = sampleTime(options, "time");
    const std::string path = counterPath(options);
    do {
        const uint64_t first = readCounter(path);
        const auto firstTime = m_Timing.now();
        if (!m_Timing.wait(time, [this] { return stopRequested(); }))
            break;
        const uint64_t second = readCounter(path);
        const auto secondTime = m_Timing.now();
        if (second < first)
            OSL_RAISE(CppUtil::IOError,
                      fmt::format("{} fell from {} to {} during the measurement", path, first, second));
        out << describeRate(second - first, secondsBetween(firstTime, secondTime)) << std::endl;
    } while (options.count("continuous") != 0 && !stopRequested() && out);
    return 0;
}

std::string PKTIORxBitRateMeas::counterPath(const Options&) const { return Drivers::Zeb::PKTIO_RX_BYTES_ATTRIBUTE; }

std::string PKTIOTxBitRateMeas::counterPath(const Options& options) const
{
    const auto channel = options["channel"].as<uint32_t>();
    if (channel >= Drivers::Zeb::PKTIO_TX_CHANNELS)
        OSL_RAISE(CppUtil::InvalidArgumentError,
                  fmt::format("--channel: {} is not in 0..{}", channel, Drivers::Zeb::PKTIO_TX_CHANNELS - 1));
    return fmt::format(fmt::runtime(Drivers::Zeb::PKTIO_TX_BYTES_ATTRIBUTE), channel);
}

TSOTSIBitRateMeas::TSOTSIBitRateMeas(std::string name, std::string usage, std::string description, StopFlag stopFlag,
                                     Timing timing)
    : PIDLUTOpenCloseCmd(std::move(name), std::move(usage), std::move(description), std::move(stopFlag)),
      m_Timing(std::move(timing))
{
}

void TSOTSIBitRateMeas::addOptions(Options& options) { options.add(STREAM_RATE_OPTIONS); }

int TSOTSIBitRateMeas::doFpgaCommand(Options& options, std::ostream& out, std::istream&)
{
    const std::chrono::milliseconds time = sampleTime(options, "sample_time");
    const bool all = options.count("all") != 0;
    StreamRates rates(getMemIf(), m_Timing);
    if (all)
        rates.selectAll();
    else
        rates.select(options["tsi"].as<std::vector<uint32_t>>(), options["tso"].as<std::vector<uint32_t>>());
    if (rates.empty())
        OSL_RAISE(CppUtil::InvalidArgumentError,
                  "Nothing to measure: give --tsi or --tso (both may be repeated), or --all for every active one");
    const StreamRates::Style style{
        .unit = options.count("force_bitsprsec") != 0 ? RateUnit::PLAIN_BITS : RateUnit::SCALED, .onlyActive = all};
    do {
        if (!rates.measure(time, [this] { return stopRequested(); }))
            break;
        rates.print(out, style);
        if (const std::string doubt = rates.doubt(); !doubt.empty())
            std::cerr << "Note: " << doubt << std::endl;
    } while (options.count("continuous") != 0 && !stopRequested() && out);
    return 0;
}

} // namespace Osl::Utils
