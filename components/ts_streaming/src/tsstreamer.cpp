#include <osl/cpputils/assertion.h>
#include <osl/ts_basics/ll_tspackets.h>
#include <osl/ts_streaming/tsstreamer.h>

#include <algorithm>
#include <chrono>
#include <thread>

namespace Osl::Ts::Streaming {
namespace {

/// Waits for futures, for a moment without sleeping: at memory speed a buffer takes less time than waking a thread.
/// While that does not pay (the sink sets the pace, or the processors are busy), it is tried ever more seldom.
class Attention
{
public:
    template <class Result>
    void await(const std::future<Result>& future)
    {
        if (m_WaitsToSleep > 0) {
            --m_WaitsToSleep;
        } else if (watch(future)) {
            m_Failures = 0;
        } else {
            m_Failures = std::min(m_Failures + 1, MAX_FAILURES);
            m_WaitsToSleep = (1U << m_Failures) - 1;
        }
        future.wait();
    }

private:
    using Clock = std::chrono::steady_clock;
    /// Longer than a thread takes to wake up: else both sides of a hand-over would keep finding the other asleep.
    static constexpr std::chrono::microseconds SPAN{500};
    static constexpr unsigned MAX_FAILURES = 6;

    template <class Result>
    static bool watch(const std::future<Result>& future)
    {
        const Clock::time_point end = Clock::now() + SPAN;
        while (future.wait_for(Clock::duration::zero()) != std::future_status::ready)
            if (Clock::now() >= end)
                return false;
        return true;
    }

    unsigned m_Failures = 0; ///< in a row, as far as they count
    unsigned m_WaitsToSleep = std::thread::hardware_concurrency() > 1 ? 0 : ~0U;
};

} // namespace

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

    /// The caller's, for waiting on what start() answers.
    Attention& attention() { return m_CallersAttention; }

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
        Attention attention;
        for (;;) {
            attention.await(next);
            const auto request = next.get();
            if (!request)
                return;
            request->read();
            next = std::move(request->next);
        }
    }

    ITsReader& m_Reader;
    Attention m_CallersAttention;
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
    m_ReadAhead->attention().await(m_PendingRead);
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
