#include "virtual_board/tx_channel.h"

#include <osl/testing/packet_maker.h>
#include <osl/testing/test.h>

#include <fcntl.h>
#include <unistd.h>

using namespace Osl;
using namespace Osl::VirtualBoard;
using namespace std::chrono_literals;

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
            [](const std::string& what) { ADD_FAILURE() << what; });
    }
    /// A segment of two packets with headers `first` and `first + 1`.
    void segment(uint16_t spacing, uint8_t remainder, uint8_t first)
    {
        std::vector<uint8_t> bytes{0, 0,        static_cast<uint8_t>(spacing >> 8), static_cast<uint8_t>(spacing), 0, 0,
                                   0, remainder};
        bytes.resize(64);
        for (const uint8_t header : {first, static_cast<uint8_t>(first + 1)})
            bytes = bytes + std::vector<uint8_t>{0, 0, 0, header} + join({Packet()});
        EXPECT_EQ(::write(*m_Feed, bytes.data(), bytes.size()), ssize_t(bytes.size()));
    }
    void serveAt(std::chrono::microseconds time) { m_Channel->serve(TxChannel::Clock::time_point(1h) + time); }

    LinuxCppUtil::UniqueFD m_Feed;
    std::unique_ptr<TxChannel> m_Channel;
    std::vector<uint32_t> m_Sent;
};

} // namespace

TEST_F(TxChannelTest, PacketsGoWhenTheirSpacingSays)
{
    segment(27'000, 27, 1); // a millisecond each, a microsecond on top
    segment(2'700, 0, 3);
    for (const auto& [time, sent] : {std::pair(0us, 1U), {999us, 1U}, {1000us, 2U}, {2000us, 2U}, {2001us, 3U}}) {
        serveAt(time);
        EXPECT_EQ(m_Sent.size(), sent);
    }
    serveAt(2101us);
    EXPECT_THAT(m_Sent, ElementsAre(1, 2, 3, 4));
    EXPECT_EQ(m_Channel->underruns(), 0U);
    EXPECT_EQ(m_Channel->bytes(), 2 * 448U);
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
