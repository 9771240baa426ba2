#include <osl/cpputils/assertion.h>
#include <osl/ts_basics/ll_tspackets.h>
#include <osl/ts_streaming/tsstreamer.h>

#include <thread>

namespace Osl::Ts::Streaming {

/// Runs one read at a time on a thread that lives as long as the pipeline: starting a thread for every buffer would
/// cost a tenth of the throughput at memory speed. Requests go in, and filled buffers come out, as futures.
class ReadAhead
{
public:
    explicit ReadAhead(ITsReader& reader)
        : m_Reader(reader),
          m_Thread([first = m_NextRequest.get_future()]() mutable { serve(std::move(first)); })
    {
    }
    ~ReadAhead()
    {
        m_NextRequest.set_value(nullptr);
        m_Thread.join();
    }
    ReadAhead(const ReadAhead&) = delete;
    ReadAhead& operator=(const ReadAhead&) = delete;

    /// The future of `buffer` filled; the one before must have been waited for.
    std::future<std::span<uint8_t>> start(std::span<uint8_t> buffer)
    {
        auto request = std::make_unique<Request>();
        request->read = Read([this, buffer] { return m_Reader.read(buffer); });
        auto filled = request->read.get_future();
        RequestPromise following;
        request->next = following.get_future();
        m_NextRequest.set_value(std::move(request));
        m_NextRequest = std::move(following);
        return filled;
    }

private:
    struct Request;
    using Read = std::packaged_task<std::span<uint8_t>()>;
    using RequestPromise = std::promise<std::unique_ptr<Request>>;
    using RequestFuture = std::future<std::unique_ptr<Request>>;
    struct Request
    {
        Read read;
        RequestFuture next; ///< yields null at the end
    };

    static void serve(RequestFuture next)
    {
        while (const auto request = next.get()) {
            request->read();
            next = std::move(request->next);
        }
    }

    ITsReader& m_Reader;
    RequestPromise m_NextRequest;
    std::thread m_Thread;
};

TsStreamer::TsStreamer(std::unique_ptr<ITsReader> reader, std::unique_ptr<ITsWriter> writer, std::size_t bufferPackets)
    : m_Reader(std::move(reader)),
      m_Writer(std::move(writer))
{
    OSL_ASSERT(static_cast<bool>(m_Reader));
    OSL_ASSERT(static_cast<bool>(m_Writer));
    start(bufferPackets);
}

TsStreamer::TsStreamer(std::unique_ptr<ITsReader> reader, std::unique_ptr<ITsProcessChain> processor,
                       std::unique_ptr<ITsWriter> writer, std::size_t bufferPackets)
    : m_Reader(std::move(reader)),
      m_Processor(std::move(processor)),
      m_Writer(std::move(writer))
{
    OSL_ASSERT(static_cast<bool>(m_Reader));
    OSL_ASSERT(static_cast<bool>(m_Processor));
    OSL_ASSERT(static_cast<bool>(m_Writer));
    start(bufferPackets);
}

TsStreamer::~TsStreamer() { endReading(); }

void TsStreamer::endReading()
{
    m_Reader->cancel();
    if (m_PendingRead.valid())
        m_PendingRead.wait();
}

void TsStreamer::start(std::size_t bufferPackets)
{
    for (auto& storage : m_Storage)
        storage.resize(bufferPackets * TS_SIZE);
    m_ReadAhead = std::make_unique<ReadAhead>(*m_Reader);
}

void TsStreamer::moveBuffer()
{
    if (!m_PendingRead.valid())
        m_PendingRead = m_ReadAhead->start(m_Storage[m_ReadInto]);
    const std::span<uint8_t> buffer = m_PendingRead.get();
    m_ReadInto = 1 - m_ReadInto;
    m_PendingRead = m_ReadAhead->start(m_Storage[m_ReadInto]);
    m_Writer->write(m_Processor ? m_Processor->process(buffer) : buffer);
}

uint32_t TsStreamer::step()
{
    constexpr uint32_t FAILED = 3;
    try {
        moveBuffer();
        return 0;
    } catch (const ReadException& error) {
        m_LastError = error.what();
        m_LastFailure = std::current_exception();
        if (error.reason() > static_cast<uint32_t>(ReadReason::NOT_ACCESSIBLE))
            OSL_ASSERT(false);
        return error.is(ReadReason::END_OF_DATA) ? 1 : error.is(ReadReason::NOT_READY) ? 2 : FAILED;
    } catch (const Error& error) {
        m_LastError = error.what();
        m_LastFailure = std::current_exception();
        return FAILED;
    }
}

} // namespace Osl::Ts::Streaming
