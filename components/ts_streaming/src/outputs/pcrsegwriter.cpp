#include <osl/cpputils/log.h>
#include <osl/ts_streaming/outputs/pcrsegwriter.h>

#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <new>
#include <utility>

namespace Osl::Ts::Streaming {
namespace {

/// Fits 32 bits for every segment that memory limits let grow.
uint32_t defaultDuration(std::size_t bytes) { return static_cast<uint32_t>(bytes / TS_SIZE * DEFAULT_PACKET_TICKS); }

} // namespace

PcrSegmentingWriter::PcrSegmentingWriter(std::unique_ptr<HwWriter> hwWriter) : m_HwWriter(std::move(hwWriter)) {}

PcrSegmentingWriter::~PcrSegmentingWriter()
{
    try {
        finish();
    } catch (const std::exception& error) {
        CppUtil::Log::instance().write(CppUtil::Log::Level::ERROR,
                                       fmt::format("The end of the stream was not sent: {}", error.what()));
    }
}

void PcrSegmentingWriter::send(std::span<const uint8_t> segment, uint64_t duration)
{
    const ssize_t result = m_HwWriter->write(segment.data(), segment.size(), duration);
    if (result < 0)
        OSL_RAISE(WriteError,
                  fmt::format("The device did not take a segment of {} packets: {} (errno {})",
                              segment.size() / TS_SIZE, std::strerror(errno), errno),
                  WriteReason::DEVICE);
    m_LastDuration = static_cast<uint32_t>(duration);
    m_LastPackets = segment.size() / TS_SIZE;
}

/// Adds to the open segment.
void PcrSegmentingWriter::append(std::span<const uint8_t> packets)
{
    try {
        m_Pending.insert(m_Pending.end(), packets.begin(), packets.end());
    } catch (const std::bad_alloc&) {
        OSL_RAISE(ResourceError, fmt::format("Not enough memory to gather a segment of {} packets",
                                             (m_Pending.size() + packets.size()) / TS_SIZE));
    }
}

void PcrSegmentingWriter::sendPending(uint64_t duration)
{
    // Empty afterwards also when sending fails; keeps its memory for the next one.
    struct Clearer
    {
        std::vector<uint8_t>& bytes;
        ~Clearer() { bytes.clear(); }
    } const clearer{m_Pending};
    send(m_Pending, duration);
}

/// Sends the open segment and `packets` at the default rate.
void PcrSegmentingWriter::sendUntimed(std::span<const uint8_t> packets)
{
    constexpr std::size_t MAX_BYTES = MAX_UNTIMED_PACKETS * TS_SIZE;
    if (!m_Pending.empty()) {
        const auto head = packets.first(std::min(packets.size(), MAX_BYTES - m_Pending.size()));
        append(head);
        packets = packets.subspan(head.size());
        sendPending(defaultDuration(m_Pending.size()));
    }
    while (!packets.empty()) {
        const auto segment = packets.first(std::min(packets.size(), MAX_BYTES));
        packets = packets.subspan(segment.size());
        send(segment, defaultDuration(segment.size()));
    }
}

/// Ends the open segment, whose last packets are `rest`, before the packet with `nextPcr`.
void PcrSegmentingWriter::close(std::span<const uint8_t> rest, uint64_t nextPcr)
{
    if (!m_HaveLastPcr) {
        sendUntimed(rest);
        return;
    }
    // The range of a PCR is a multiple of 2^32, so the difference holds across its wrap.
    const auto duration = static_cast<uint32_t>(nextPcr - (m_LastBase * PCR_TICKS_PER_BASE + m_LastExtension));
    if (!m_Pending.empty()) {
        append(rest);
        sendPending(duration);
    } else if (!rest.empty()) {
        send(rest, duration);
    }
}

/// Takes packets that no PCR has followed yet.
void PcrSegmentingWriter::keep(std::span<const uint8_t> packets)
{
    const std::size_t open = (m_Pending.size() + packets.size()) / TS_SIZE;
    if (!m_HaveLastPcr && (m_Untimed || open >= MAX_UNTIMED_PACKETS)) {
        m_Untimed = true;
        sendUntimed(packets);
        return;
    }
    append(packets);
    if (m_HaveLastPcr && open > MAX_OPEN_PACKETS) {
        m_Pending.clear();
        OSL_RAISE(
            WriteError,
            fmt::format("PID {} (0x{:04x}) paced the stream but had no PCR for {} packets; at most {} can be held "
                        "back to wait for one",
                        m_PcrPid, m_PcrPid, open, MAX_OPEN_PACKETS),
            WriteReason::PACING);
    }
}

void PcrSegmentingWriter::write(std::span<const uint8_t> buffer)
{
    std::size_t start = 0;
    for (std::size_t at = 0; at < buffer.size(); at += TS_SIZE) {
        const uint8_t* const packet = &buffer[at];
        if (!Ll::hasPcr(packet) || Ll::pid(packet) == NULL_PID)
            continue;
        if (m_PcrPid == NULL_PID)
            m_PcrPid = Ll::pid(packet);
        if (Ll::pid(packet) != m_PcrPid)
            continue;
        close(buffer.subspan(start, at - start), Ll::pcr(packet));
        m_LastBase = Ll::pcrBase(packet);
        m_LastExtension = Ll::pcrExtension(packet);
        m_HaveLastPcr = true;
        start = at;
    }
    keep(buffer.subspan(start));
}

void PcrSegmentingWriter::finish()
{
    if (m_Pending.empty())
        return;
    const std::vector<uint8_t> tail = std::exchange(m_Pending, {});
    if (!m_HaveLastPcr || !m_LastDuration) {
        sendUntimed(tail);
        return;
    }
    const uint64_t lastSpacing = *m_LastDuration / m_LastPackets;
    try {
        send(tail, *m_LastDuration);
    } catch (const WriteError& error) {
        // A tail much shorter or longer than a segment can be out of the device's range at a whole segment's duration;
        // at the last segment's spacing it is not.
        if (!error.is(WriteReason::PACING))
            throw;
        send(tail, lastSpacing * (tail.size() / TS_SIZE));
    }
}

} // namespace Osl::Ts::Streaming
