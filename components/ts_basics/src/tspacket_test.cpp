#include <osl/testing/packet_maker.h>
#include <osl/testing/test.h>
#include <osl/ts_basics/tspacket.h>

#include <algorithm>

using namespace Osl::Ts;

namespace {

constexpr std::size_t HEADER = 4;

ShrdBuffIO_TSPacket recordOf(const Packet& packet, std::size_t headerSize = HEADER)
{
    const std::shared_ptr<uint8_t[]> record(new uint8_t[headerSize + TS_SIZE]());
    std::copy(packet.bytes.begin(), packet.bytes.end(), record.get() + headerSize);
    return {record, headerSize + TS_SIZE};
}

} // namespace

TEST(ShrdBuffIOTSPacketTest, TsBytesAreTheLastOfTheRecord)
{
    const ShrdBuffIO_TSPacket withHeader = recordOf(Packet());
    EXPECT_EQ(withHeader.tsData(), withHeader.record() + 4);
    EXPECT_EQ(withHeader.headerSize(), 4U);
    EXPECT_TRUE(withHeader.syncOk());
    const ShrdBuffIO_TSPacket bare = recordOf(Packet(), 0);
    EXPECT_EQ(bare.tsData(), bare.record());
    EXPECT_DEATH(ShrdBuffIO_TSPacket(nullptr, 187), "packet_size >= static_cast<std::size_t>\\(TS_SIZE\\)");
}

TEST(ShrdBuffIOTSPacketTest, SettersKeepTheNeighbouringBits)
{
    ShrdBuffIO_TSPacket packet = recordOf(Packet(0).unit({}).scrambled());
    packet.setPid(0x1FFF);
    packet.setContinuityCounter(0x1F);
    EXPECT_THAT(std::vector(packet.tsData() + 1, packet.tsData() + 4), ElementsAre(0x5F, 0xFF, 0x9F));
    EXPECT_EQ(packet.scramblingControl(), ScramblingControl::EVEN_KEY);
}

TEST(ShrdBuffIOTSPacketTest, PcrOfAPacketWithoutOneIsAnError)
{
    EXPECT_THAT(failureOf<TsPacketError>([] { static_cast<void>(recordOf(Packet()).pcr()); }),
                StartsWith("TS Packet Error: Packet contains no PCR stamp("));
}

TEST(ShrdBuffIOTSPacketTest, PayloadStandsBehindTheAdaptationField)
{
    ShrdBuffIO_TSPacket packet = recordOf(Packet().adaptation(7));
    EXPECT_EQ(packet.payload(), packet.tsData() + 12);
    packet = recordOf(Packet().noPayload());
    EXPECT_FALSE(packet.hasPayload());
    EXPECT_EQ(packet.payload(), packet.record() + 192);
}
