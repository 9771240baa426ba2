#pragma once

#include <osl/ts_basics/ll_tspackets.h>
#include <osl/ts_streaming/interfaces.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <sys/types.h>
#include <vector>

namespace Osl::Ts::Streaming {

/// Cuts a stream into segments that each start with a PCR of one PID, the first that carries any, and hands each on
/// with the time, in 27 MHz ticks, to its next PCR. What comes before the first PCR goes at DEFAULT_PACKET_TICKS.
class PcrSegmentingWriter : public ITsWriter
{
public:
    /// Sink of segments.
    class HwWriter
    {
    public:
        virtual ~HwWriter() = default;
        /// `segment` is `bytes` long, a multiple of 188, and aligned for 32-bit accesses. Answers the number of bytes
        /// that the device took; negative, with errno, when it failed.
        virtual ssize_t write(const uint8_t* segment, std::size_t bytes, uint64_t durationTicks) = 0;
    };

    /// Without any PCR no segment is longer than this. Once one has become so long, the stream is taken for one that
    /// has no PCRs: nothing is held back any more to wait for one.
    static constexpr std::size_t MAX_UNTIMED_PACKETS = 4096;
    /// A stream whose PCRs stop for longer than this is refused.
    static constexpr std::size_t MAX_OPEN_PACKETS = 22310; ///< about 4 MiB

    explicit PcrSegmentingWriter(std::unique_ptr<HwWriter> hwWriter);
    /// Finishes; an error that can no longer be reported goes to the log.
    ~PcrSegmentingWriter() override;

    /// `buffer`: whole packets. Raises WriteError when a segment cannot be sent; that segment and the rest of the
    /// buffer are then dropped, the writer stays usable.
    void write(std::span<const uint8_t> buffer) override;

    /// For a live stream that has had no PCR for long enough: from the next write() on, nothing waits for the first.
    void stopWaitingForPcr() { m_Untimed = true; }

    /// Sends the segment that is still open, with the duration of the one before. Raises as write() does.
    void finish();

    /// NULL_PID until the first PCR.
    uint16_t pcrPid() const { return m_PcrPid; }

private:
    void close(std::span<const uint8_t> rest, uint64_t nextPcr);
    void send(std::span<const uint8_t> segment, uint64_t duration);
    void append(std::span<const uint8_t> packets);
    void sendPending(uint64_t duration);
    void sendUntimed(std::span<const uint8_t> packets);
    void keep(std::span<const uint8_t> packets);

    std::unique_ptr<HwWriter> m_HwWriter;
    std::vector<uint8_t> m_Pending; ///< the open segment's bytes from earlier calls
    uint16_t m_PcrPid = NULL_PID;
    uint64_t m_LastBase = 0;
    uint16_t m_LastExtension = 0;
    bool m_HaveLastPcr = false;
    bool m_Untimed = false; ///< nothing waits for the first PCR any more
    std::optional<uint32_t> m_LastDuration;
    std::size_t m_LastPackets = 0; ///< in the segment that m_LastDuration was for
};

} // namespace Osl::Ts::Streaming
