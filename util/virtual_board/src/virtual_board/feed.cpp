#include "virtual_board/feed.h"

#include "virtual_board/board_folder.h"

#include <osl/linutils/raii_filedescriptors.h>
#include <osl/ts_streaming/inputs/file_reader.h>
#include <osl/ts_streaming/inputs/format_probe.h>
#include <osl/ts_streaming/processing/sync_guard.h>
#include <osl/ts_streaming/processing/tspcrwrapper.h>

#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <utility>

namespace Osl::VirtualBoard {

using namespace Ts::Streaming;
using Ts::TS_SIZE;

namespace {

constexpr std::size_t BUFFER_PACKETS = 128;
constexpr std::size_t ENOUGH_WAITING = 256; ///< packets
/// A longer pause between two packets is none that a stream has: its time stamps jump there.
constexpr uint64_t MAX_PACKET_TICKS = Ts::PCR_TICKS_PER_SECOND / 10;

LinuxCppUtil::UniqueFD openFeed(const std::string& file)
{
    // Without blocking, as a pipe would until somebody writes to it.
    const int descriptor = ::open(file.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (descriptor < 0)
        OSL_RAISE(BoardError, fmt::format("Cannot open {}: {}", file, std::strerror(errno)));
    auto owned = LinuxCppUtil::ownFD(descriptor);
    struct stat status = {};
    if (::fstat(descriptor, &status) != 0 || !S_ISREG(status.st_mode))
        OSL_RAISE(BoardError, fmt::format("{} cannot be fed: it is not a file", file));
    return owned;
}

} // namespace

class Feed::Timing : public PcrSegmentingWriter::HwWriter
{
public:
    explicit Timing(Feed& feed) : m_Feed(feed) {}
    ssize_t write(const uint8_t* segment, std::size_t bytes, uint64_t durationTicks) override
    {
        m_Feed.schedule(segment, bytes, durationTicks);
        return static_cast<ssize_t>(bytes);
    }

private:
    Feed& m_Feed;
};

Feed::Feed(const std::string& file, Pace pace, Deliver deliver, Complain complain)
    : m_Deliver(std::move(deliver)),
      m_Complain(std::move(complain)),
      m_Name(file),
      m_Buffer(BUFFER_PACKETS * TS_SIZE / sizeof(uint32_t))
{
    auto reader = std::make_unique<FileReader>(
        openFeed(file), file, pace == Pace::PCR ? FileReader::AtEnd::START_AGAIN : FileReader::AtEnd::STOP);
    const uint64_t packets = reader->fileBytes() / TS_SIZE;
    if (pace == Pace::PCR && packets != 0) {
        m_Chain = std::make_unique<SyncGuard>(
            std::make_unique<LoopCounters>(std::make_unique<TsPcrWrapper>(nullptr, packets), packets));
        m_Writer = std::make_unique<PcrSegmentingWriter>(std::make_unique<Timing>(*this));
    }
    m_Reader = std::make_unique<FormatProbe>(std::move(reader));
    try {
        readMore();
    } catch (const Error& error) {
        OSL_RAISE(BoardError, fmt::format("{} cannot be fed: {}", file, error.what()));
    }
}

Feed::Clock::time_point Feed::at(int64_t ticks) const
{
    return m_Origin + std::chrono::duration_cast<Clock::duration>(Ticks(ticks));
}

void Feed::schedule(const uint8_t* segment, std::size_t bytes, uint64_t durationTicks)
{
    const std::size_t count = bytes / TS_SIZE;
    if (durationTicks > count * MAX_PACKET_TICKS) {
        m_Complain(fmt::format("{}: the PCRs jump by {} s", m_Name, durationTicks / Ts::PCR_TICKS_PER_SECOND));
        durationTicks = count * DEFAULT_PACKET_TICKS;
    }
    for (std::size_t i = 0; i < count; ++i) {
        Packet packet{.ticks = m_NextTicks + static_cast<int64_t>(durationTicks * i / count), .bytes = {}};
        std::copy_n(segment + i * TS_SIZE, TS_SIZE, packet.bytes.begin());
        m_Packets.push_back(packet);
    }
    m_NextTicks += static_cast<int64_t>(durationTicks);
}

void Feed::readMore()
{
    const std::span bytes(reinterpret_cast<uint8_t*>(m_Buffer.data()), m_Buffer.size() * sizeof m_Buffer[0]);
    std::span<uint8_t> packets = m_Reader->read(bytes);
    if (!m_Writer) {
        schedule(packets.data(), packets.size(), 0);
        return;
    }
    packets = m_Chain->process(packets);
    m_Writer->write(packets);
}

/// Reads on until enough packets wait. What ends the feed is reported, but for the end of its file.
void Feed::fill()
{
    try {
        while (m_Reader && m_Packets.size() < ENOUGH_WAITING)
            readMore();
    } catch (const ReadException& error) {
        if (!error.is(ReadReason::END_OF_DATA))
            m_Complain(fmt::format("the feed has ended: {}", error.what()));
        m_Reader.reset();
    } catch (const Error& error) {
        m_Complain(fmt::format("the feed has ended: {}: {}", m_Name, error.what()));
        m_Reader.reset();
    }
}

bool Feed::serve(Clock::time_point now, Clock::duration maxLateness)
{
    if (!std::exchange(m_Started, true))
        m_Origin = now;
    fill();
    if (const Clock::duration late = nextDue() < now ? now - nextDue() : Clock::duration::zero(); late > maxLateness) {
        m_Origin += late;
        m_Lost += late;
    }
    bool busy = false;
    // Not more than was there, so that others have their turn.
    for (std::size_t left = m_Packets.size(); left > 0 && nextDue() <= now; --left) {
        m_Deliver(m_Packets.front().bytes.data());
        m_Packets.pop_front();
        busy = true;
    }
    return busy;
}

Feed::Clock::time_point Feed::nextDue() const
{
    return m_Packets.empty() ? Clock::time_point::max() : at(m_Packets.front().ticks);
}

} // namespace Osl::VirtualBoard
