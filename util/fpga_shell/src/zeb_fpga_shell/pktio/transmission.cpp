#include "zeb_fpga_shell/pktio/transmission.h"

#include "zeb_fpga_shell/pktio/bit_rate.h"
#include "zeb_fpga_shell/pktio/monitored_sinks.h"

#include <osl/cpputils/log.h>
#include <osl/linutils/interruptible.h>
#include <osl/ts_streaming/inputs/file_reader.h>
#include <osl/ts_streaming/inputs/format_probe.h>
#include <osl/ts_streaming/inputs/loop_filler.h>
#include <osl/ts_streaming/inputs/packet_limit.h>
#include <osl/ts_streaming/processing/sync_guard.h>
#include <osl/ts_streaming/processing/tsccfixer.h>
#include <osl/ts_streaming/processing/tspcrwrapper.h>
#include <osl/userspace_drivers/interfaces/pci/pciif.h>

#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <exception>
#include <fcntl.h>
#include <optional>
#include <unistd.h>
#include <utility>

namespace Osl::Utils {

using namespace Ts::Streaming;
using CppUtil::Log;
using Ts::NULL_PID;
using Ts::TS_SIZE;

namespace {

LinuxCppUtil::UniqueFD openInput(const std::string& file)
{
    const int descriptor = file == "-" ? ::fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1)
                                       : LinuxCppUtil::Interruptible::open(file, O_RDONLY);
    if (descriptor < 0)
        OSL_RAISE(CppUtil::FileSystemError,
                  fmt::format("Cannot open {}: {} (errno {})", file == "-" ? "standard input" : file,
                              std::strerror(errno), errno));
    return LinuxCppUtil::ownFD(descriptor);
}

/// One transmission, from the opened input to the flushed tail.
class Transmission
{
public:
    Transmission(const SendSettings& settings, const SendEnvironment& environment);
    SendResult run();

private:
    std::unique_ptr<ITsReader> makeReader();
    std::unique_ptr<ITsProcessChain> makeProcessor();
    std::unique_ptr<ITsWriter> makeWriter();
    std::unique_ptr<TsStreamer> makeStreamer();
    uint64_t packetsAtSeam();
    uint64_t bytesToSend() const;
    void move();
    std::string describeFailure() const;
    void finish();
    void goOnWithoutPcr();
    void warnWithoutPcr();
    std::string summary() const;

    const SendSettings& m_Settings;
    const SendEnvironment& m_Environment;
    uint32_t m_Header;
    std::unique_ptr<FileReader> m_OwnedFile; ///< until the pipeline takes it
    FileReader& m_File;
    SendMonitor m_Monitor;
    std::unique_ptr<Drivers::Zeb::PktIODriver> m_Port; ///< only when sending by registers
    PcrSegmentingWriter* m_Segmenter = nullptr;        ///< only otherwise; owned by the pipeline
    LoopFiller* m_LoopFiller = nullptr;                ///< only in a loop; owned by the pipeline
    SyncGuard* m_SyncGuard = nullptr;                  ///< owned by the pipeline
    std::unique_ptr<TsStreamer> m_Streamer;
    std::optional<std::chrono::steady_clock::time_point> m_FirstPackets;
    bool m_WarnedWithoutPcr = false;
    bool m_EndReached = false;
    std::string m_Failure;
};

Transmission::Transmission(const SendSettings& settings, const SendEnvironment& environment)
    : m_Settings(settings),
      m_Environment(environment),
      m_Header(txHeader(settings.designatorMode, settings.designator)),
      m_OwnedFile(std::make_unique<FileReader>(
          openInput(settings.file), settings.file == "-" ? "Standard input" : settings.file,
          settings.loop ? FileReader::AtEnd::START_AGAIN : FileReader::AtEnd::STOP, environment.stopped)),
      m_File(*m_OwnedFile),
      m_Monitor(bytesToSend(), settings.showProgress ? &environment.progress : nullptr, environment.stopped,
                environment.timing.now),
      m_Streamer(makeStreamer())
{
}

uint64_t Transmission::bytesToSend() const
{
    const uint64_t limit = m_Settings.packetLimit * TS_SIZE;
    if (m_Settings.loop || m_File.fileBytes() == 0)
        return limit;
    return limit == 0 ? m_File.fileBytes() : std::min(limit, m_File.fileBytes());
}

std::unique_ptr<ITsReader> Transmission::makeReader()
{
    std::unique_ptr<ITsReader> reader = std::make_unique<FormatProbe>(std::move(m_OwnedFile));
    if (m_Settings.loop) {
        auto filler = std::make_unique<LoopFiller>(std::move(reader), m_File.fileBytes() / TS_SIZE);
        m_LoopFiller = filler.get();
        reader = std::move(filler);
    }
    if (m_Settings.packetLimit != 0)
        reader = std::make_unique<PacketLimit>(std::move(reader), m_Settings.packetLimit);
    return reader;
}

/// Packets that are sent between the end of a looped file and its next start.
uint64_t Transmission::packetsAtSeam()
{
    const LoopSeam& seam = m_LoopFiller->seam();
    if (!seam.trouble().empty()) {
        m_Monitor.clearLine();
        Log::instance().warning("{}: time stamps will jump where the file starts again", seam.trouble());
    }
    return seam.packets();
}

std::unique_ptr<ITsProcessChain> Transmission::makeProcessor()
{
    std::unique_ptr<ITsProcessChain> repair;
    if (m_Settings.loop)
        repair = std::make_unique<TsCcFixer>(
            std::make_unique<TsPcrWrapper>(nullptr, m_File.fileBytes() / TS_SIZE, [this] { return packetsAtSeam(); }));
    else if (m_Settings.fixCounters)
        repair = std::make_unique<TsCcFixer>();
    auto guard = std::make_unique<SyncGuard>(std::move(repair));
    m_SyncGuard = guard.get();
    return guard;
}

std::unique_ptr<ITsWriter> Transmission::makeWriter()
{
    if (!m_Settings.byRegisters) {
        ZebPcrWriter channel(m_Settings.channel, m_Settings.designatorMode, m_Settings.designator,
                             m_Environment.channelPrefix);
        auto segmenter = std::make_unique<PcrSegmentingWriter>(std::make_unique<MonitoredChannel>(
            std::move(channel), m_Environment.channelPrefix + std::to_string(m_Settings.channel), m_Monitor));
        m_Segmenter = segmenter.get();
        return segmenter;
    }
    auto registers = std::make_shared<Pci::PciIf>(m_Environment.port.path, m_Environment.port.mapSize, 0);
    // Apart from the lock of those who receive by registers, which are others.
    LinuxCppUtil::FileLock lock(registers->descriptor(), m_Environment.port.path, {}, LinuxCppUtil::LockKind::RECORD);
    // The port's driver waits for a free port without limit; only the user can end that.
    m_Port = std::make_unique<Drivers::Zeb::PktIODriver>(std::move(registers), [this] {
        if (!m_Environment.timing.wait(std::chrono::milliseconds(1), m_Environment.stopped))
            OSL_RAISE(WriteError, "Stopped by the user", WriteReason::STOPPED);
    });
    return std::make_unique<MonitoredPort>(*m_Port, std::move(lock), m_Header, m_Monitor);
}

std::unique_ptr<TsStreamer> Transmission::makeStreamer()
{
    auto writer = makeWriter();
    return std::make_unique<TsStreamer>(makeReader(), makeProcessor(), std::move(writer), m_Settings.bufferPackets);
}

/// From a pipe, packets that wait for a PCR are silence on air.
void Transmission::goOnWithoutPcr()
{
    constexpr std::chrono::milliseconds LONGEST_PCR_INTERVAL{100}; // in any transport stream
    if (m_Segmenter == nullptr || m_File.fileBytes() != 0 || m_Segmenter->pcrPid() != NULL_PID)
        return;
    const auto now = m_Environment.timing.now();
    if (!m_FirstPackets)
        m_FirstPackets = now;
    if (now - *m_FirstPackets >= LONGEST_PCR_INTERVAL)
        m_Segmenter->stopWaitingForPcr();
}

void Transmission::warnWithoutPcr()
{
    if (m_Segmenter == nullptr || m_Segmenter->pcrPid() != NULL_PID || m_Monitor.packets() == 0 ||
        std::exchange(m_WarnedWithoutPcr, true))
        return;
    m_Monitor.clearLine();
    Log::instance().warning("No PCR so far: the stream is sent at the default rate of {}",
                            rateText(TS_SIZE, double{DEFAULT_PACKET_TICKS} / Ts::PCR_TICKS_PER_SECOND));
}

void Transmission::move()
{
    constexpr uint32_t END_OF_DATA = 1;
    uint32_t status = 0;
    while (status == 0 && !m_Environment.stopped()) {
        status = m_Streamer->step();
        goOnWithoutPcr();
        warnWithoutPcr();
    }
    m_Streamer->endReading();
    m_EndReached = status == END_OF_DATA;
    if (status != 0)
        m_Failure = describeFailure();
}

/// What ended the stream; empty for its end and for a stop, which reaches the pipeline as a failure of its writer.
std::string Transmission::describeFailure() const
{
    try {
        m_SyncGuard->check();
        std::rethrow_exception(m_Streamer->lastFailure());
    } catch (const ReadException& error) {
        if (error.is(ReadReason::END_OF_DATA))
            return "";
        return m_File.failed() ? fmt::format("{} - {}", m_File.failure(), error.what()) : error.what();
    } catch (const WriteError& error) {
        return error.is(WriteReason::STOPPED) ? "" : error.what();
    } catch (const Error& error) {
        return error.what();
    }
}

void Transmission::finish()
{
    if (m_Segmenter == nullptr)
        return;
    try {
        m_Segmenter->finish();
    } catch (const WriteError& error) {
        if (!error.is(WriteReason::STOPPED) && m_Failure.empty())
            m_Failure = error.what();
    }
    warnWithoutPcr();
}

std::string Transmission::summary() const
{
    const double seconds = m_Monitor.seconds();
    std::string segments = "packet by packet";
    if (m_Segmenter != nullptr) {
        const uint16_t pid = m_Segmenter->pcrPid();
        segments = fmt::format("{} segments, {}", m_Monitor.pieces(),
                               pid == NULL_PID ? "no PCR PID" : fmt::format("PCR PID {} (0x{:04x})", pid, pid));
    }
    return fmt::format("Sent {} packets, {} bytes, {}, in {:.3f} seconds at {}", m_Monitor.packets(), m_Monitor.bytes(),
                       segments, seconds, rateText(m_Monitor.bytes(), seconds));
}

SendResult Transmission::run()
{
    const LinuxCppUtil::Interruptible::InterruptedBySignals interrupted;
    move();
    finish();
    m_Monitor.clearLine();
    if (m_Failure.empty() && m_File.droppedBytes() != 0 && (m_EndReached || m_Settings.loop))
        Log::instance().warning("The input's last {} bytes are not a whole packet and were not sent",
                                m_File.droppedBytes());
    if (m_Failure.empty() && m_Monitor.packets() == 0 && !m_Environment.stopped())
        m_Failure = "The input holds no packet";
    return {summary(), m_Failure};
}

} // namespace

SendResult transmit(const SendSettings& settings, const SendEnvironment& environment)
{
    return Transmission(settings, environment).run();
}

} // namespace Osl::Utils
