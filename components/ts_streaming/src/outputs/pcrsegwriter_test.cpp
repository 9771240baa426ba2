#include <osl/cpputils/log.h>
#include <osl/testing/packet_maker.h>
#include <osl/testing/test.h>
#include <osl/ts_streaming/outputs/pcrsegwriter.h>

#include <cerrno>

using namespace Osl::Ts;
using namespace Osl::Ts::Streaming;

namespace {

struct Segment
{
    std::size_t packets;
    uint64_t duration;
    int firstMark;
    bool operator==(const Segment&) const = default;
};

/// Takes segments; refuses durations of more than a limit for a packet, as the hardware does.
struct FakeHw : PcrSegmentingWriter::HwWriter
{
    ssize_t write(const uint8_t* segment, std::size_t bytes, uint64_t duration) override
    {
        EXPECT_EQ(reinterpret_cast<uintptr_t>(segment) % 4, 0U);
        if (duration / (bytes / TS_SIZE) >= m_SpacingLimit)
            OSL_RAISE(WriteError, "too slow", WriteReason::PACING);
        m_Segments.push_back({bytes / TS_SIZE, duration, segment[TS_SIZE - 1]});
        errno = ENODEV;
        return m_Result;
    }

    ssize_t m_Result = 1;
    uint64_t m_SpacingLimit = ~uint64_t{0};
    std::vector<Segment> m_Segments;
};

class PcrSegmentingWriterTest : public testing::Test
{
protected:
    void write(std::vector<Packet> packets)
    {
        for (Packet& packet : packets)
            packet.mark(m_Mark++);
        m_Writer->write(join(packets));
    }

    std::unique_ptr<FakeHw> m_Owned = std::make_unique<FakeHw>();
    FakeHw& m_Hw = *m_Owned;
    std::unique_ptr<PcrSegmentingWriter> m_Writer = std::make_unique<PcrSegmentingWriter>(std::move(m_Owned));
    uint8_t m_Mark = 0;
};

Packet pcr(uint64_t ticks, uint16_t pid = 0x100) { return Packet(pid).pcr(ticks); }
const Packet PLAIN;

} // namespace

TEST_F(PcrSegmentingWriterTest, SegmentsRunFromPcrToPcrOfTheFirstPcrPid)
{
    write({pcr(1000), PLAIN, pcr(5, 0x200)});
    EXPECT_THAT(m_Hw.m_Segments, IsEmpty());
    EXPECT_EQ(m_Writer->pcrPid(), 0x100);
    write({PLAIN, PLAIN});
    write({PLAIN, pcr(4000), pcr(5000), PLAIN, pcr(5500)});
    EXPECT_THAT(m_Hw.m_Segments, ElementsAre(Segment{6, 3000, 0}, Segment{1, 1000, 6}, Segment{2, 500, 7}));
    write({pcr(5600)});
    EXPECT_THAT(m_Hw.m_Segments.back(), (Segment{1, 100, 9}));
}

TEST_F(PcrSegmentingWriterTest, WhatComesBeforeTheFirstPcrGoesAtTheDefaultRateThenPcrsTellAcrossTheirWrap)
{
    write({PLAIN, Packet(NULL_PID).pcr(7), PLAIN, pcr(PCR_RANGE - 100), PLAIN, pcr(200)});
    EXPECT_THAT(m_Hw.m_Segments, ElementsAre(Segment{3, 24366, 0}, Segment{2, 300, 3}));
}

TEST_F(PcrSegmentingWriterTest, TailOfUntimedStreamGoesAtTheDefaultRate)
{
    write({pcr(0), PLAIN});
    m_Writer->finish();
    EXPECT_THAT(m_Hw.m_Segments, ElementsAre(Segment{2, 16244, 0}));
}

TEST_F(PcrSegmentingWriterTest, TailGoesWithTheLastDurationUnscaled)
{
    write({pcr(0), PLAIN, pcr(600), PLAIN, PLAIN, PLAIN});
    m_Writer->finish();
    m_Writer->finish();
    EXPECT_THAT(m_Hw.m_Segments, ElementsAre(Segment{2, 600, 0}, Segment{4, 600, 2}));
    write({PLAIN});
    m_Writer->finish();
    EXPECT_THAT(m_Hw.m_Segments.back(), (Segment{1, 600, 6}));
}

TEST_F(PcrSegmentingWriterTest, TailThatTheDeviceCannotStretchGoesAtTheLastSpacing)
{
    m_Hw.m_SpacingLimit = 300;
    write({pcr(0), PLAIN, PLAIN, PLAIN, pcr(801), PLAIN});
    m_Writer->finish();
    EXPECT_THAT(m_Hw.m_Segments, ElementsAre(Segment{4, 801, 0}, Segment{2, 400, 4}));
}

TEST_F(PcrSegmentingWriterTest, WithoutPcrSegmentsStayShortAndNothingWaitsForOneForLong)
{
    for (const std::size_t packets : {3000U, 9000U, 1U, 1U})
        write(std::vector<Packet>(packets, PLAIN));
    EXPECT_THAT(m_Hw.m_Segments,
                ElementsAre(Segment{4096, 4096 * 8122, 0}, Segment{4096, 4096 * 8122, 0}, Segment{3808, 3808 * 8122, 0},
                            Segment{1, 8122, 12000 % 256}, Segment{1, 8122, 12001 % 256}));

    write({pcr(0)});
    EXPECT_THAT(failureOf<WriteError>([&] {
                    for (int i = 0; i < 23; ++i)
                        write(std::vector<Packet>(1000, PLAIN));
                }),
                HasSubstr("PID 256 (0x0100) paced the stream but had no PCR for 23001 packets"));
}

TEST_F(PcrSegmentingWriterTest, LiveStreamGoesOnWithoutPcrUntilOneComes)
{
    write({PLAIN, PLAIN});
    m_Writer->stopWaitingForPcr();
    write({PLAIN});
    write({PLAIN, pcr(0), PLAIN});
    write({PLAIN, pcr(600)});
    EXPECT_THAT(m_Hw.m_Segments, ElementsAre(Segment{3, 24366, 0}, Segment{1, 8122, 3}, Segment{3, 600, 4}));
}

TEST_F(PcrSegmentingWriterTest, RefusedSegmentIsDroppedAndTheNextOneGoes)
{
    m_Hw.m_SpacingLimit = 500;
    EXPECT_THROW(write({pcr(0), PLAIN, pcr(9000), PLAIN}), WriteError);
    write({pcr(9100), PLAIN});
    write({PLAIN, pcr(9400)});
    EXPECT_THAT(m_Hw.m_Segments, ElementsAre(Segment{3, 300, 4}));
}

TEST_F(PcrSegmentingWriterTest, DestructionFlushesAndLogsWhatItCannotReport)
{
    Osl::CppUtil::Log::setUp(Osl::CppUtil::Log::Level::WARNING);
    write({pcr(0), PLAIN});
    m_Hw.m_Result = -1;
    testing::internal::CaptureStderr();
    m_Writer.reset();
    EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("The end of the stream was not sent: TS streaming"));
}
