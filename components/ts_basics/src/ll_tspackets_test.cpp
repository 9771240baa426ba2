#include <osl/testing/packet_maker.h>
#include <osl/testing/test.h>

#include <array>

using namespace Osl::Ts;

TEST(LlTsPacketsTest, ReadsHeaderFieldsFromTheirBits)
{
    const std::array<uint8_t, 12> packet{0x47, 0xC1, 0x23, 0xBA, 0x07, 0x90, 0x00, 0x00, 0x00, 0x00, 0xFF, 0x2B};
    const uint8_t* const b = packet.data();
    EXPECT_TRUE(Ll::hasSync(b));
    EXPECT_TRUE(Ll::hasTransportError(b));
    EXPECT_TRUE(Ll::startsPayloadUnit(b));
    EXPECT_EQ(Ll::pid(b), 0x123);
    EXPECT_EQ(Ll::scramblingControl(b), 2);
    EXPECT_TRUE(Ll::hasPayload(b));
    EXPECT_EQ(Ll::continuityCounter(b), 0xA);
    EXPECT_EQ(Ll::payloadOffset(b), 12U);
    EXPECT_TRUE(Ll::hasDiscontinuity(b));
    EXPECT_EQ(Ll::pcrBase(b), 1U);
    EXPECT_EQ(Ll::pcrExtension(b), 299U);
    EXPECT_EQ(Ll::pcr(b), 599U);
}

TEST(LlTsPacketsTest, PcrReadsBackFromEveryCornerAndKeepsReservedBits)
{
    for (const uint64_t ticks : {uint64_t{0}, uint64_t{299}, uint64_t{300}, uint64_t{0x123456789AB}, PCR_RANGE - 1}) {
        Packet packet;
        packet.pcr(0).bytes[10] |= 0x7E;
        Ll::setPcr(packet.bytes.data(), ticks);
        EXPECT_EQ(Ll::pcr(packet.bytes.data()), ticks);
        EXPECT_EQ(packet.bytes[10] & 0x7E, 0x7E);
    }
    Packet wrapped;
    Ll::setPcr(wrapped.pcr(0).bytes.data(), PCR_RANGE + 5);
    EXPECT_EQ(Ll::pcr(wrapped.bytes.data()), 5U);
}

TEST(LlTsPacketsTest, EmptyAdaptationFieldHasNoFlags)
{
    Packet packet;
    packet.pcr(1).bytes[4] = 0;
    packet.bytes[5] = 0xFF;
    EXPECT_FALSE(Ll::hasPcr(packet.bytes.data()));
    EXPECT_FALSE(Ll::hasDiscontinuity(packet.bytes.data()));
    EXPECT_EQ(Ll::payloadOffset(packet.bytes.data()), 5U);
}

TEST(LlTsPacketsTest, PayloadNeverLiesOutsideThePacket)
{
    EXPECT_EQ(Ll::payloadOffset(Packet().bytes.data()), 4U);
    EXPECT_EQ(Ll::payloadOffset(Packet().adaptation(183).bytes.data()), TS_SIZE);
    EXPECT_EQ(Ll::payloadOffset(Packet().adaptation(255).bytes.data()), TS_SIZE);
    EXPECT_EQ(Ll::payloadOffset(Packet().adaptation(7).noPayload().bytes.data()), TS_SIZE);
}
