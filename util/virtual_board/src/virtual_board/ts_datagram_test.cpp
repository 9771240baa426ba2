#include "virtual_board/datagram_output.h"
#include "virtual_board/ts_datagram.h"

#include <osl/testing/packet_maker.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <tuple>
#include <vector>

using namespace Osl::VirtualBoard;
using namespace std::chrono_literals;
using Bytes = std::vector<uint8_t>;
using namespace Osl::Testing;
using testing::ElementsAre;

namespace {

Bytes packets(std::size_t count) { return Osl::Testing::join(std::vector<Packet>(count)); }

Bytes rtp(uint8_t flags) { return Bytes{static_cast<uint8_t>(0x80 | flags), 33} + Bytes(10); }

Bytes found(const Bytes& datagram)
{
    const auto inside = tsPacketsIn(datagram);
    return {inside.begin(), inside.end()};
}

} // namespace

TEST(TsDatagramTest, PacketsAreFoundPlainlyAndBehindRtp)
{
    for (const std::size_t count : {1, 7, 100}) {
        const Bytes ts = packets(count);
        for (const Bytes& datagram :
             {ts, rtp(0) + ts, rtp(0x0F) + Bytes(60, 0x47) + ts, rtp(0x10) + Bytes{0, 0, 0, 0} + ts,
              rtp(0x10) + Bytes{0xBE, 0xDE, 0, 2} + Bytes(8) + ts, rtp(0x20) + ts + Bytes{1},
              rtp(0x32) + Bytes(8) + Bytes{0, 0, 0, 1} + Bytes(4) + ts + Bytes{0, 0, 3}})
            EXPECT_EQ(found(datagram), ts);
    }
}

TEST(TsDatagramTest, WhatIsNoneIsRefused)
{
    const Bytes ts = packets(2);
    Bytes lostSync = ts;
    lostSync[188] = 0;
    for (const Bytes& datagram :
         {Bytes(), Bytes{0x47}, Bytes(188), lostSync, ts + Bytes{0}, rtp(0), rtp(0) + lostSync,
          Bytes{0x40, 33} + Bytes(10) + ts, rtp(0x0F), rtp(0x10) + Bytes{0, 0},
          rtp(0x10) + Bytes{0, 0, 0xFF, 0xFF} + ts, rtp(0x20) + ts + Bytes{0}, rtp(0x20) + Bytes{0xFF}})
        EXPECT_EQ(found(datagram), Bytes()) << testing::PrintToString(datagram);
}

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
