#include <osl/testing/test.h>
#include <osl/ts_streaming/tsstreamer.h>

#include <algorithm>
#include <atomic>
#include <thread>

using namespace Osl::Ts;
using namespace Osl::Ts::Streaming;

namespace {

/// Fills buffers with 0, 1, 2 …, then raises with the given reason.
struct CountingReader : ITsReader
{
    explicit CountingReader(int buffers, uint32_t reason = 0) : m_Buffers(buffers), m_Reason(reason) {}
    std::span<uint8_t> read(std::span<uint8_t> buffer) override
    {
        if (m_Count == m_Buffers)
            OSL_RAISE(ReadException, "reader's text", m_Reason);
        std::fill(buffer.begin(), buffer.end(), static_cast<uint8_t>(m_Count++));
        return buffer;
    }

    int m_Buffers;
    uint32_t m_Reason;
    int m_Count = 0;
};

/// Notes the value of each buffer, which must be the same from end to end.
struct NotingWriter : ITsWriter
{
    explicit NotingWriter(std::vector<int>& values) : m_Values(values) {}
    void write(std::span<const uint8_t> buffer) override
    {
        EXPECT_TRUE(std::all_of(buffer.begin(), buffer.end(), [&](uint8_t byte) { return byte == buffer.front(); }));
        if (buffer.front() == m_FailAt)
            OSL_RAISE(WriteError, "writer's text", WriteReason::PACING);
        m_Values.push_back(buffer.front());
    }

    std::vector<int>& m_Values;
    int m_FailAt = -1;
};

struct Add : TsProcessChainLink
{
    Add(uint8_t summand, std::unique_ptr<ITsProcessChain> next)
        : TsProcessChainLink(std::move(next)),
          m_Summand(summand)
    {
    }
    void change(std::span<uint8_t> buffer) override
    {
        for (uint8_t& byte : buffer)
            byte = static_cast<uint8_t>(byte * 2 + m_Summand);
    }
    uint8_t m_Summand;
};

} // namespace

TEST(TsStreamerTest, BuffersGoWholeAndInOrderThroughTheChainWhileTheNextIsRead)
{
    std::vector<int> values;
    TsStreamer streamer(std::make_unique<CountingReader>(2000),
                        std::make_unique<Add>(1, std::make_unique<Add>(5, nullptr)),
                        std::make_unique<NotingWriter>(values), 7);
    while (streamer.step() == 0)
        continue;
    EXPECT_EQ(streamer.step(), 1U) << "the end stays the end";
    ASSERT_EQ(values.size(), 2000U);
    for (std::size_t i = 0; i < values.size(); ++i)
        EXPECT_EQ(values[i], static_cast<uint8_t>(4 * i + 7));
}

TEST(TsStreamerTest, StatusTellsWhatEndedTheStep)
{
    for (const auto& [reason, status] : {std::pair{0U, 1U}, {1U, 2U}, {2U, 3U}, {3U, 3U}}) {
        std::vector<int> values;
        TsStreamer streamer(std::make_unique<CountingReader>(0, reason), std::make_unique<NotingWriter>(values), 1);
        EXPECT_EQ(streamer.step(), status);
        EXPECT_THAT(failureOf<ReadException>([&] { std::rethrow_exception(streamer.lastFailure()); }),
                    HasSubstr("reader's text("));
    }
    std::vector<int> values;
    auto writer = std::make_unique<NotingWriter>(values);
    writer->m_FailAt = 1;
    TsStreamer streamer(std::make_unique<CountingReader>(9), std::move(writer), 1);
    EXPECT_EQ(streamer.step(), 0U);
    EXPECT_EQ(streamer.step(), 3U);
    EXPECT_THROW(std::rethrow_exception(streamer.lastFailure()), WriteError);
}

TEST(TsStreamerTest, ReaderThatWasNotReadyIsAskedAgainForTheBufferThatItOwes)
{
    struct SlowReader : CountingReader
    {
        using CountingReader::CountingReader;
        std::span<uint8_t> read(std::span<uint8_t> buffer) override
        {
            if (++m_Asked % 2 == 0)
                OSL_RAISE(ReadException, "wait", ReadReason::NOT_READY);
            return CountingReader::read(buffer);
        }
        int m_Asked = 0;
    };
    std::vector<int> values;
    TsStreamer streamer(std::make_unique<SlowReader>(3), std::make_unique<NotingWriter>(values), 1);
    for (const uint32_t status : {0U, 2U, 0U, 2U, 0U, 2U, 1U})
        EXPECT_EQ(streamer.step(), status);
    EXPECT_THAT(values, ElementsAre(0, 1, 2));
}

TEST(TsStreamerTest, ReadsOneBufferAheadAndNoMore)
{
    auto owned = std::make_unique<CountingReader>(9);
    const CountingReader& reader = *owned;
    std::vector<int> values;
    TsStreamer streamer(std::move(owned), std::make_unique<NotingWriter>(values), 1);
    EXPECT_EQ(reader.m_Count, 0);
    EXPECT_EQ(streamer.step(), 0U);
    EXPECT_EQ(streamer.step(), 0U);
    streamer.endReading();
    EXPECT_EQ(reader.m_Count, 3);
}

TEST(TsStreamerTest, UnknownReasonIsAFaultOfTheProgram)
{
    std::vector<int> values;
    EXPECT_DEATH(TsStreamer(std::make_unique<CountingReader>(0, 4), std::make_unique<NotingWriter>(values), 1).step(),
                 "\\[false\\].*tsstreamer");
    EXPECT_DEATH(TsStreamer(std::make_unique<CountingReader>(0), nullptr, std::make_unique<NotingWriter>(values)),
                 "static_cast<bool>\\(m_Processor\\)");
}

TEST(TsStreamerTest, DestructionEndsAReadThatWaitsForever)
{
    struct BlockingReader : ITsReader
    {
        std::span<uint8_t> read(std::span<uint8_t> buffer) override
        {
            if (m_Served++ == 0)
                return buffer;
            while (!m_Cancelled)
                std::this_thread::yield();
            OSL_RAISE(ReadException, "cancelled", ReadReason::END_OF_DATA);
        }
        void cancel() override { m_Cancelled = true; }
        int m_Served = 0;
        std::atomic<bool> m_Cancelled = false;
    };
    std::vector<int> values;
    TsStreamer streamer(std::make_unique<BlockingReader>(), std::make_unique<NotingWriter>(values), 1);
    EXPECT_EQ(streamer.step(), 0U);
}
