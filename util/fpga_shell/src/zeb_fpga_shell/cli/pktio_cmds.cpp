#include "zeb_fpga_shell/cli/pktio_cmds.h"

#include "zeb_fpga_shell/pktio/capture.h"
#include "zeb_fpga_shell/pktio/packet_file.h"
#include "zeb_fpga_shell/pktio/transmission.h"

#include <osl/cpputils/log.h>
#include <osl/ts_streaming/outputs/pcrsegwriter_zebhw.h>
#include <osl/userspace_drivers/drivers/zeb/ts/receiveport.h>

#include <fmt/format.h>

#include <array>
#include <iostream>
#include <optional>
#include <unistd.h>

namespace Osl::Utils {

using Drivers::Zeb::ReceivePort;
using Ts::Streaming::DesignatorMode;

namespace {

constexpr OptionDecl VERBOSITY_OPTION{
    "v,verbosity", OptionKind::TEXT,
    "What is logged: warnings and errors (trace, debug, info or warning), errors (error), "
    "or nothing (critical)",
    "warning", CppUtil::Log::levelNames};

constexpr std::array SEND_OPTIONS{
    OptionDecl{"f,file", OptionKind::PATH, "TS file of 188-byte packets; \"-\" is standard input", "-"},
    OptionDecl{"C,channel", OptionKind::NUMBER, "TX DMA channel, 0-3", "0"},
    OptionDecl{"i,tsi", OptionKind::NUMBER, "Send as transport stream input, 0-255"},
    OptionDecl{"P,pididx", OptionKind::NUMBER, "Send to a PID index, 1-4095"},
    OptionDecl{"o,tso", OptionKind::NUMBER, "Send to a transport stream output, 0-255"},
    OptionDecl{"l,loop", OptionKind::FLAG, "Start again at the end of the file until Ctrl-C; time stamps run on"},
    OptionDecl{"F,fix_cc", OptionKind::FLAG, "Repair continuity counters"},
    OptionDecl{"n,count", OptionKind::NUMBER, "Stop after N packets (0 = all)", "0"},
    OptionDecl{"b,buffer", OptionKind::NUMBER, "Packets per pipeline buffer", "5577"},
    OptionDecl{"O,old", OptionKind::FLAG, "Send unscheduled, packet by packet, through the port's registers"},
    OptionDecl{"q,quiet", OptionKind::FLAG, "No progress line"},
    VERBOSITY_OPTION,
    HELP_OPTION,
};

constexpr std::array CAPTURE_OPTIONS{
    OptionDecl{"c,count", OptionKind::NUMBER, "Stop after N packets (0 = run until Ctrl-C)", "1"},
    OptionDecl{"i,tsi", OptionKind::NUMBERS, "Keep only packets of this input. Multiple may be given"},
    OptionDecl{"p,pid", OptionKind::NUMBERS, "Keep only packets of this PID. Multiple may be given"},
    OptionDecl{"f,file", OptionKind::PATH, "Write the packets to this file; \"-\" is standard output"},
    OptionDecl{"r,records", OptionKind::FLAG, "Write whole 192-byte records instead of 188-byte TS packets"},
    OptionDecl{"x,hex", OptionKind::FLAG, "Dump the bytes of each packet"},
    OptionDecl{"s,stats", OptionKind::FLAG, "At the end, show statistics of each input and PID"},
    OptionDecl{"T,timeout", OptionKind::NUMBER, "Give up after N ms without a packet (0 = never)", "1000"},
    OptionDecl{"fresh", OptionKind::FLAG, "First discard the packets that wait in the port"},
    OptionDecl{"R,registers", OptionKind::FLAG, "Take packets from the port's registers, not from its stream device"},
    VERBOSITY_OPTION,
    HELP_OPTION,
};

/// The designators, and what else of a transmission has a range, in the words of the options.
constexpr const char* SEND_RANGES = "Accepted are --tsi 0-255, --pididx 1-4095, --tso 0-255 and --channel 0-3.";
constexpr uint32_t MAX_BUFFER_PACKETS = 100'000;

void checkRange(const char* option, uint32_t value, uint32_t first, uint32_t last)
{
    if (value < first || value > last)
        OSL_RAISE(CppUtil::OutOfRangeError, fmt::format("--{}: {} is not in {}..{}", option, value, first, last));
}

void readDesignator(const Options& options, SendSettings& settings)
{
    struct Designator
    {
        const char* option;
        DesignatorMode mode;
    };
    static constexpr std::array DESIGNATORS{Designator{"tsi", DesignatorMode::TSI},
                                            Designator{"pididx", DesignatorMode::PIDIDX},
                                            Designator{"tso", DesignatorMode::TSO}};
    std::size_t given = 0;
    for (const Designator& designator : DESIGNATORS) {
        if (options.count(designator.option) == 0)
            continue;
        ++given;
        settings.designatorMode = static_cast<unsigned>(designator.mode);
        settings.designator = options[designator.option].as<uint32_t>();
    }
    if (given != 1)
        OSL_RAISE(
            CppUtil::InvalidArgumentError,
            fmt::format("Exactly one of --tsi, --pididx and --tso says where the packets go; {} were given", given));
}

SendSettings sendSettings(const Options& options)
{
    SendSettings settings{.file = options["file"].as<std::string>(),
                          .channel = options["channel"].as<uint32_t>(),
                          .loop = options.count("loop") != 0,
                          .fixCounters = options.count("fix_cc") != 0,
                          .packetLimit = options["count"].as<uint32_t>(),
                          .bufferPackets = options["buffer"].as<uint32_t>(),
                          .byRegisters = options.count("old") != 0,
                          .showProgress = options.count("quiet") == 0 && ::isatty(STDERR_FILENO) == 1};
    readDesignator(options, settings);
    checkRange("buffer", options["buffer"].as<uint32_t>(), 1, MAX_BUFFER_PACKETS);
    return settings;
}

/// Whether designator and channel are in their ranges.
bool hasDestination(const SendSettings& settings)
{
    try {
        Ts::Streaming::txHeader(settings.designatorMode, settings.designator);
    } catch (const CppUtil::InvalidArgumentError&) {
        return false;
    }
    return settings.channel < Drivers::Zeb::PKTIO_TX_CHANNELS;
}

void setVerbosity(const Options& options)
{
    CppUtil::Log::setUp(CppUtil::Log::levelFromName(options["verbosity"].as<std::string>()));
}

CaptureSettings captureSettings(const Options& options)
{
    CaptureSettings settings{.count = options["count"].as<uint32_t>(),
                             .timeout = std::chrono::milliseconds(options["timeout"].as<uint32_t>()),
                             .tsis = options["tsi"].as<std::vector<uint32_t>>(),
                             .pids = options["pid"].as<std::vector<uint32_t>>(),
                             .lines = options.count("file") == 0 || options.count("hex") != 0,
                             .hex = options.count("hex") != 0,
                             .wholeRecords = options.count("records") != 0};
    for (const uint32_t tsi : settings.tsis)
        checkRange("tsi", tsi, 0, 255);
    for (const uint32_t pid : settings.pids)
        checkRange("pid", pid, 0, Ts::NULL_PID);
    return settings;
}

} // namespace

void WrTsPacketsCmd::addOptions(Options& options) { options.add(SEND_OPTIONS); }

int WrTsPacketsCmd::doCommand(Options& options, std::ostream& out, std::istream&)
{
    setVerbosity(options);
    const SendSettings settings = sendSettings(options);
    const SendEnvironment environment{.stopped = [this] { return stopRequested(); },
                                      .timing = Timing::real(),
                                      .progress = std::cerr,
                                      .channelPrefix = Drivers::Zeb::PKTIO_TX_PATH,
                                      .port = Drivers::Zeb::PKTIO_DEVICE};
    SendResult result;
    try {
        result = transmit(settings, environment);
    } catch (const CppUtil::InvalidArgumentError&) {
        if (!hasDestination(settings))
            std::cerr << SEND_RANGES << '\n';
        throw;
    }
    out << result.summary << std::endl;
    if (result.failure.empty())
        return 0;
    std::cerr << "Encountered an error: " << result.failure << std::endl;
    return -1;
}

void RdTsPacketsCmd::addOptions(Options& options) { options.add(CAPTURE_OPTIONS); }

int RdTsPacketsCmd::doFpgaCommand(Options& options, std::ostream& out, std::istream&)
{
    setVerbosity(options);
    const CaptureSettings settings = captureSettings(options);
    std::optional<PacketFile> file;
    if (options.count("file") != 0)
        file.emplace(options["file"].as<std::string>());
    const bool binaryOutput = file && file->isStandardOutput();
    if (binaryOutput && settings.hex)
        OSL_RAISE(CppUtil::InvalidArgumentError, "--hex and --file - cannot both use standard output");
    std::ostream& text = binaryOutput ? std::cerr : out;

    const Timing timing = Timing::real();
    const auto stopped = [this] { return stopRequested(); };
    ReceivePort port =
        options.count("registers") != 0
            ? ReceivePort::overRegisters(getContainedMemIf(), deviceDescriptor(), devicePath())
            : ReceivePort::overStream(getContainedMemIf(), Drivers::Zeb::PKTIO_RX_PATH, stopped, timing.now);
    if (options.count("fresh") != 0)
        port.discardWaiting(stopped, timing.now);

    Capture capture(settings, port.driver(), text, file ? &*file : nullptr);
    std::string failure;
    const auto attempt = [&failure](const auto& step) {
        try {
            step();
        } catch (const Error& error) {
            if (failure.empty())
                failure = error.what();
        }
    };
    attempt([&] { capture.run(stopped, timing); });
    attempt([&] {
        if (file)
            file->finish();
    });
    if (options.count("stats") != 0)
        capture.stats().print(text);
    if (capture.withoutSync() != 0)
        std::cerr << capture.withoutSync() << " records without sync byte were dropped\n";
    if (!text)
        return -1; // which is said where the output ends
    if (failure.empty() && !capture.complete() && !stopRequested())
        failure = fmt::format("no packet{} came for {} ms",
                              settings.tsis.empty() && settings.pids.empty() ? "" : " of the wanted inputs and PIDs",
                              settings.timeout.count());
    if (failure.empty())
        return 0;
    const std::string written =
        file && file->written() != capture.taken() ? fmt::format(", written: {}", file->written()) : "";
    std::cerr << fmt::format("Encountered an error: {} (packets taken: {}{})", failure, capture.taken(), written)
              << std::endl;
    return -1;
}

} // namespace Osl::Utils
