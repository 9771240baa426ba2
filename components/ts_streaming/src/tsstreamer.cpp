#include <osl/cpputils/assertion.h>
#include <osl/ts_basics/ll_tspackets.h>
#include <osl/ts_streaming/tsstreamer.h>

#include <fmt/format.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <sys/mman.h>
#include <system_error>
#include <thread>

namespace Osl::Ts::Streaming {
namespace {

/// Waits for the other thread, for a moment without sleeping: at memory speed a buffer takes less time than waking a
/// thread. While that does not pay (the sink sets the pace, or the processors are busy), it is tried ever more seldom.
class Attention
{
public:
    /// After this `isReady` may still be false.
    template <class Condition>
    void watch(const Condition& isReady)
    {
        if (m_WaitsToSleep > 0) {
            --m_WaitsToSleep;
        } else if (becomes(isReady)) {
            m_Failures = 0;
        } else {
            m_Failures = std::min(m_Failures + 1, MAX_FAILURES);
            m_WaitsToSleep = (1U << m_Failures) - 1;
        }
    }

private:
    using Clock = std::chrono::steady_clock;
    /// Longer than a thread takes to wake up: else both sides of a hand-over would keep finding the other asleep.
    static constexpr std::chrono::microseconds SPAN{500};
    static constexpr unsigned MAX_FAILURES = 6;

    template <class Condition>
    static bool becomes(const Condition& isReady)
    {
        const Clock::time_point end = Clock::now() + SPAN;
        while (!isReady())
            if (Clock::now() >= end)
                return false;
        return true;
    }

    unsigned m_Failures = 0; ///< in a row, as far as they count
    unsigned m_WaitsToSleep = std::thread::hardware_concurrency() > 1 ? 0 : ~0U;
};

} // namespace

/// Runs the reads, one after the other, on a thread that lives as long as the pipeline: starting a thread for every
/// buffer would cost a tenth of the throughput at memory speed. So would a pause after each read until its buffer was
/// taken; so the next one may be asked for before.
class ReadAhead
{
public:
    using Filled = std::future<std::span<uint8_t>>;

    explicit ReadAhead(ITsReader& reader) : m_Reader(reader), m_Thread(startThread()) {}
    /// No read may be under way.
    ~ReadAhead()
    {
        m_Ended = true;
        post();
        m_Thread.join();
    }
    ReadAhead(const ReadAhead&) = delete;
    ReadAhead& operator=(const ReadAhead&) = delete;

    /// The future of `buffer` filled. At most one other read may be under way; when it fails, this one answers an empty
    /// view without having been tried.
    Filled start(std::span<uint8_t> buffer)
    {
        Request& request = m_Requests[m_Posted.load(std::memory_order_relaxed) % m_Requests.size()];
        request = {buffer, {}};
        Filled filled = request.filled.get_future();
        post();
        return filled;
    }

    void await(const Filled& filled)
    {
        m_CallersAttention.watch([&] { return filled.wait_for(std::chrono::seconds(0)) == std::future_status::ready; });
        filled.wait();
    }

    /// Lets reads be tried again after a failure; none may be under way.
    void recover() { m_Failed = false; }

private:
    struct Request
    {
        std::span<uint8_t> buffer;
        std::promise<std::span<uint8_t>> filled;
    };

    std::thread startThread()
    {
        try {
            return std::thread([this] { serve(); });
        } catch (const std::system_error& error) {
            OSL_RAISE(ResourceError,
                      fmt::format("Cannot start the thread that reads ahead: {}; a thread needs memory for its stack, "
                                  "and counts as a process of its user",
                                  error.code().message()));
        }
    }

    void post()
    {
        m_Posted.fetch_add(1, std::memory_order_release);
        m_Posted.notify_one();
    }

    void serve()
    {
        Attention attention;
        for (uint32_t served = 0;; ++served) {
            attention.watch([&] { return m_Posted.load(std::memory_order_acquire) != served; });
            m_Posted.wait(served, std::memory_order_acquire);
            if (m_Ended)
                return;
            // Out of its place, which the caller may use again as soon as it has the result.
            fulfil(std::move(m_Requests[served % m_Requests.size()]));
        }
    }

    void fulfil(Request request)
    {
        try {
            request.filled.set_value(m_Failed ? request.buffer.first(0) : m_Reader.read(request.buffer));
        } catch (...) {
            m_Failed = true;
            request.filled.set_exception(std::current_exception());
        }
    }

    ITsReader& m_Reader;
    Attention m_CallersAttention;
    std::array<Request, 2> m_Requests;
    std::atomic<uint32_t> m_Posted = 0; ///< all before it is handed over to the thread
    bool m_Ended = false;
    bool m_Failed = false; ///< of the thread while reads are under way, else of the caller
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
    // A huge page saves the reader a thirtieth of its time; both buffers of the default size fit into one. Where there
    // are none, nothing is lost.
    constexpr std::size_t HUGE_PAGE = std::size_t{1} << 21;
    constexpr std::size_t CACHE_LINE = 64;
    const std::size_t bytes = bufferPackets * TS_SIZE;
    const std::size_t second = (bytes + CACHE_LINE - 1) / CACHE_LINE * CACHE_LINE;
    const std::size_t total = (second + bytes + HUGE_PAGE - 1) / HUGE_PAGE * HUGE_PAGE;
    m_Memory.reset(static_cast<uint8_t*>(std::aligned_alloc(HUGE_PAGE, total)));
    if (!m_Memory)
        OSL_RAISE(ResourceError,
                  fmt::format("Not enough memory for two buffers of {} packets: {} bytes", bufferPackets, total));
    ::madvise(m_Memory.get(), total, MADV_HUGEPAGE);
    m_Storage = {std::span(m_Memory.get(), bytes), std::span(m_Memory.get() + second, bytes)};
    m_ReadAhead = std::make_unique<ReadAhead>(*m_Reader);
}

void TsStreamer::moveBuffer()
{
    if (!m_PendingRead.valid())
        m_PendingRead = m_ReadAhead->start(m_Storage[m_ReadInto]);
    m_ReadInto = 1 - m_ReadInto;
    // The other buffer has been written, so the thread may go on with it the moment that it is through with this one.
    auto nextRead = m_ReadAhead->start(m_Storage[m_ReadInto]);
    m_ReadAhead->await(m_PendingRead);
    std::span<uint8_t> buffer;
    try {
        buffer = m_PendingRead.get();
    } catch (...) {
        nextRead.wait();
        m_ReadAhead->recover();
        throw;
    }
    m_PendingRead = std::move(nextRead);
    m_Writer->write(m_Processor ? m_Processor->process(buffer) : buffer);
}

uint32_t TsStreamer::step()
{
    constexpr uint32_t FAILED = 3;
    try {
        moveBuffer();
        return 0;
    } catch (const ReadException& error) {
        m_LastFailure = std::current_exception();
        if (error.reason() > static_cast<uint32_t>(ReadReason::NOT_ACCESSIBLE))
            OSL_ASSERT(false);
        return error.is(ReadReason::END_OF_DATA) ? 1 : error.is(ReadReason::NOT_READY) ? 2 : FAILED;
    } catch (const Error&) {
        m_LastFailure = std::current_exception();
        return FAILED;
    }
}

} // namespace Osl::Ts::Streaming
