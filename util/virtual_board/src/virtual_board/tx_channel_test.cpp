#include "virtual_board/tx_channel.h"

#include <osl/testing/packet_maker.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fcntl.h>
#include <unistd.h>

using namespace Osl;
using namespace Osl::VirtualBoard;
using namespace std::chrono_literals;
using testing::ElementsAre;

namespace {

/// A channel at the end of a pipe; time is what the test says.
class TxChannelTest : public testing::Test
{
protected:
    TxChannelTest()
    {
        std::array<int, 2> ends{};
        EXPECT_EQ(::pipe2(ends.data(), O_NONBLOCK), 0);
        m_Feed = LinuxCppUtil::ownFD(ends[1]);
        m_Channel = std::make_unique<TxChannel>(
            2, LinuxCppUtil::ownFD(ends[0]), [this](uint32_t header, const uint8_t*) { m_Sent.push_back(header); },
            [this](const std::string& what) { m_Complaint = what; });
    }
    /// A segment of two packets with headers `first` and `first + 1`.
    void segment(uint16_t spacing, uint8_t remainder, uint8_t first)
    {
        std::vector<uint8_t> bytes(64);
        bytes[2] = static_cast<uint8_t>(spacing >> 8);
        bytes[3] = static_cast<uint8_t>(spacing);
        bytes[7] = remainder;
        for (const uint8_t header : {first, static_cast<uint8_t>(first + 1)}) {
            bytes.insert(bytes.end(), {0, 0, 0, header});
            const Testing::Packet packet;
            bytes.insert(bytes.end(), packet.bytes.begin(), packet.bytes.end());
        }
        EXPECT_EQ(::write(*m_Feed, bytes.data(), bytes.size()), ssize_t(bytes.size()));
    }
    void serveAt(std::chrono::microseconds time) { m_Channel->serve(TxChannel::Clock::time_point(1h) + time); }

    LinuxCppUtil::UniqueFD m_Feed;
    std::unique_ptr<TxChannel> m_Channel;
    std::vector<uint32_t> m_Sent;
    std::string m_Complaint;
};

} // namespace

TEST_F(TxChannelTest, PacketsGoWhenTheirSpacingSays)
{
    segment(27'000, 27, 1); // a millisecond each, a microsecond on top
    segment(2'700, 0, 3);
    serveAt(0us);
    EXPECT_THAT(m_Sent, ElementsAre(1));
    serveAt(999us);
    EXPECT_THAT(m_Sent, ElementsAre(1));
    serveAt(1000us);
    EXPECT_THAT(m_Sent, ElementsAre(1, 2));
    serveAt(2000us);
    EXPECT_EQ(m_Sent.size(), 2U);
    serveAt(2001us);
    EXPECT_EQ(m_Sent.size(), 3U);
    serveAt(2101us);
    EXPECT_THAT(m_Sent, ElementsAre(1, 2, 3, 4));
    EXPECT_EQ(m_Channel->underruns(), 0U);
    EXPECT_EQ(m_Channel->bytes(), 2 * 448U);
}

TEST_F(TxChannelTest, WithoutSpacingTheyGoAtOnceAndLateSegmentsCountAsStarved)
{
    segment(0, 0, 1);
    serveAt(0us);
    EXPECT_EQ(m_Sent.size(), 2U);
    segment(27'000, 0, 3);
    serveAt(10us);
    segment(27'000, 0, 5);
    serveAt(3000us);
    EXPECT_EQ(m_Channel->underruns(), 1U);
    EXPECT_THAT(m_Sent, ElementsAre(1, 2, 3, 4, 5));
}

TEST_F(TxChannelTest, ANewSendersFirstSegmentIsNotLate)
{
    segment(2'700, 0, 1);
    serveAt(0us);
    EXPECT_FALSE(m_Channel->ended());
    m_Feed.reset();
    serveAt(1000us);
    EXPECT_TRUE(m_Channel->ended());
    EXPECT_EQ(m_Sent.size(), 2U);
    EXPECT_EQ(m_Channel->underruns(), 0U);
    EXPECT_EQ(m_Complaint, "");
}

TEST_F(TxChannelTest, TakesNoMoreThanItCanHoldBack)
{
    constexpr uint64_t BURST = uint64_t{140} * 448;
    for (uint64_t taken = 0; m_Channel->wantsData(); taken += BURST) {
        ASSERT_LT(taken, 10 * BURST);
        for (int i = 0; i < 140; ++i)
            segment(27'000, 0, 1);
        serveAt(0us);
        EXPECT_EQ(m_Channel->bytes(), taken + BURST);
    }
    const uint64_t taken = m_Channel->bytes();
    segment(27'000, 0, 1);
    serveAt(0us);
    EXPECT_EQ(m_Channel->bytes(), taken);
    serveAt(1s);
    serveAt(1s);
    EXPECT_EQ(m_Channel->bytes(), taken + 448);
}

TEST_F(TxChannelTest, GarbageIsReportedWithTheChannel)
{
    const std::vector<uint8_t> junk(100, 0xEE);
    EXPECT_EQ(::write(*m_Feed, junk.data(), junk.size()), 100);
    segment(0, 0, 1);
    serveAt(0us);
    EXPECT_EQ(m_Complaint, "TX channel 2: 100 bytes were neither segment head nor packet record");
    EXPECT_EQ(m_Sent.size(), 2U);
}
