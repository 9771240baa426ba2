#include "virtual_board/datagram_output.h"

#include <osl/testing/packet_maker.h>
#include <osl/testing/test.h>

#include <tuple>
#include <vector>

using namespace Osl::VirtualBoard;
using namespace std::chrono_literals;
using Bytes = std::vector<uint8_t>;

namespace {

Bytes packets(std::size_t count) { return join(std::vector<Packet>(count)); }

} // namespace

TEST(DatagramOutputTest, SevenPacketsMakeADatagramAndFewGoAfterAWhile)
{
    std::vector<std::tuple<DatagramTarget, Bytes>> sent;
    DatagramOutput output([&sent](const DatagramTarget& target, std::span<const uint8_t> datagram) {
        sent.emplace_back(target, Bytes(datagram.begin(), datagram.end()));
    });
    const auto start = DatagramOutput::Clock::time_point(1h);
    const DatagramTarget first{0xEF000001, 1000, false};
    const DatagramTarget second{0xEF000001, 1001, true};
    const Packet packet;
    for (int i = 0; i < 9; ++i)
        output.add(4, first, packet.bytes.data(), start);
    EXPECT_THAT(sent, ElementsAre(std::tuple(first, packets(7))));
    output.flush(start + 19ms);
    EXPECT_EQ(sent.size(), 1U);
    output.flush(start + 20ms);
    EXPECT_EQ(sent[1], std::tuple(first, packets(2)));

    output.add(4, first, packet.bytes.data(), start);
    output.add(4, second, packet.bytes.data(), start + 10ms);
    EXPECT_EQ(sent[2], std::tuple(first, packets(1)));
    output.flush(start + 30ms);
    output.add(4, second, packet.bytes.data(), start + 1s);
    output.flush(start + 2s);
    ASSERT_EQ(sent.size(), 5U);
    // Version 2, payload type 33; the sequence number; 3600 s and 10 ms, then 3601 s, in 90 kHz; the source.
    const Bytes source{0x5A, 0x45, 0x42, 0x04};
    EXPECT_EQ(sent[3], std::tuple(second, Bytes{0x80, 33, 0, 0, 0x13, 0x4F, 0xDC, 0x84} + source + packets(1)));
    EXPECT_EQ(sent[4], std::tuple(second, Bytes{0x80, 33, 0, 1, 0x13, 0x51, 0x38, 0x90} + source + packets(1)));
}
