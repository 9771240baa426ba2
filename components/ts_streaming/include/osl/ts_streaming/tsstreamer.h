#pragma once

#include <osl/ts_streaming/interfaces.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <exception>
#include <future>
#include <memory>
#include <span>

namespace Osl::Ts::Streaming {

class ReadAhead;

/// A pipeline that reads one buffer ahead, on a thread of its own, while the caller's thread processes and writes the
/// one before it. The reader is used by that thread alone; everything else by the caller's.
class TsStreamer : public ITsStreamer
{
public:
    static constexpr std::size_t DEFAULT_BUFFER_PACKETS = 5577; ///< about 1 MiB

    TsStreamer(std::unique_ptr<ITsReader> reader, std::unique_ptr<ITsWriter> writer,
               std::size_t bufferPackets = DEFAULT_BUFFER_PACKETS);
    TsStreamer(std::unique_ptr<ITsReader> reader, std::unique_ptr<ITsProcessChain> processor,
               std::unique_ptr<ITsWriter> writer, std::size_t bufferPackets = DEFAULT_BUFFER_PACKETS);
    /// Ends the reading.
    ~TsStreamer() override;

    uint32_t step() override;

    /// The error behind the last step() that did not return 0.
    const std::exception_ptr& lastFailure() const { return m_LastFailure; }

    /// Cancels the reader and waits for a read that still runs; no step may follow.
    void endReading();

private:
    void start(std::size_t bufferPackets);
    void moveBuffer();

    std::unique_ptr<ITsReader> m_Reader;
    std::unique_ptr<ITsProcessChain> m_Processor; ///< empty when there is nothing to process
    std::unique_ptr<ITsWriter> m_Writer;
    struct Free
    {
        void operator()(uint8_t* memory) const { std::free(memory); }
    };
    std::unique_ptr<uint8_t, Free> m_Memory;
    std::array<std::span<uint8_t>, 2> m_Storage; ///< in m_Memory; one is read into while the other is written
    std::size_t m_ReadInto = 0;
    std::exception_ptr m_LastFailure;
    std::unique_ptr<ReadAhead> m_ReadAhead;
    std::future<std::span<uint8_t>> m_PendingRead;
};

} // namespace Osl::Ts::Streaming
