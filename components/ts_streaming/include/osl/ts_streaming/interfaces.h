#pragma once

#include <osl/cpputils/error.h>

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <utility>

/// The parts of a streaming pipeline. A buffer is a view of whole 188-byte packets, aligned for 32-bit accesses.
namespace Osl::Ts::Streaming {

/// Duration of a packet, in 27 MHz ticks, where no PCR tells it: about 5 Mbit/s.
inline constexpr uint32_t DEFAULT_PACKET_TICKS = 8122;

/// Why reading ended; the values travel as the reason of a ReadException.
enum class ReadReason : uint32_t {
    END_OF_DATA = 0,
    NOT_READY = 1,
    BAD_DATA = 2,
    NOT_ACCESSIBLE = 3,
};

/// Why writing failed; the values travel as the reason of a WriteError.
enum class WriteReason : uint32_t {
    PACING = 0, ///< the segment cannot be sent at its rate
    STOPPED = 1,
    DEVICE = 3,
};

/// An error with a numeric reason.
template <CppUtil::FixedText PREFIX, class Reason>
class ReasonedError : public CppUtil::PrefixedError<PREFIX>
{
public:
    ReasonedError(const std::string& message, const char* file, int line, uint32_t reason)
        : CppUtil::PrefixedError<PREFIX>(message, file, line),
          m_Reason(reason)
    {
    }
    ReasonedError(const std::string& message, const char* file, int line, Reason reason)
        : ReasonedError(message, file, line, static_cast<uint32_t>(reason))
    {
    }

    uint32_t reason() const { return m_Reason; }
    bool is(Reason reason) const { return m_Reason == static_cast<uint32_t>(reason); }

private:
    uint32_t m_Reason = 0;
};

struct ReadException : ReasonedError<"TS streaming read error: ", ReadReason>
{
    using ReasonedError::ReasonedError;
};

struct WriteError : ReasonedError<"TS streaming write error: ", WriteReason>
{
    using ReasonedError::ReasonedError;
};

/// The system did not give the memory or thread that is needed.
struct ResourceError : CppUtil::PrefixedError<"TS streaming resource error: ">
{
    using PrefixedError::PrefixedError;
};

/// Source of buffers.
class ITsReader
{
public:
    virtual ~ITsReader() = default;
    /// Fills `buffer`, a multiple of 188 bytes long, from its start; returns the filled part, whole packets and at
    /// least one. Raises ReadException, at the end of the data too.
    virtual std::span<uint8_t> read(std::span<uint8_t> buffer) = 0;
    /// Makes a read() that runs on another thread, and those to come, end soon.
    virtual void cancel() {}
};

/// A step that changes packets in place.
class ITsProcessChain
{
public:
    virtual ~ITsProcessChain() = default;
    /// Returns the same view.
    virtual std::span<uint8_t> process(std::span<uint8_t> buffer) = 0;
};

/// A step that hands its result to the next one, which it owns; the last has none.
class TsProcessChainLink : public ITsProcessChain
{
public:
    explicit TsProcessChainLink(std::unique_ptr<ITsProcessChain> next) : m_Next(std::move(next)) {}

    std::span<uint8_t> process(std::span<uint8_t> buffer) final
    {
        change(buffer);
        return m_Next ? m_Next->process(buffer) : buffer;
    }

protected:
    virtual void change(std::span<uint8_t> buffer) = 0;

private:
    std::unique_ptr<ITsProcessChain> m_Next;
};

/// Sink of buffers.
class ITsWriter
{
public:
    virtual ~ITsWriter() = default;
    virtual void write(std::span<const uint8_t> buffer) = 0;
};

/// A pipeline.
class ITsStreamer
{
public:
    virtual ~ITsStreamer() = default;
    /// Moves one buffer. Returns 0 when that was done, 1 at the end of the data, 2 when the reader was not ready, 3
    /// after any other failure.
    virtual uint32_t step() = 0;
};

} // namespace Osl::Ts::Streaming
