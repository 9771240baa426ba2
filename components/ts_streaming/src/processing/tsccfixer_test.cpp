#include <osl/testing/packet_maker.h>
#include <osl/testing/test.h>
#include <osl/ts_streaming/processing/tsccfixer.h>

using namespace Osl::Ts;
using namespace Osl::Ts::Streaming;

namespace {

std::vector<int> countersOf(const std::vector<uint8_t>& stream)
{
    std::vector<int> counters;
    for (std::size_t at = 0; at < stream.size(); at += TS_SIZE)
        counters.push_back(Ll::continuityCounter(&stream[at]));
    return counters;
}

} // namespace

TEST(TsCcFixerTest, NumbersEveryPidFromZeroWhateverTheSourceHeld)
{
    TsCcFixer fixer;
    auto first = join({Packet(0x100).counter(7), Packet(0x200).counter(7), Packet(0x100).counter(3),
                       Packet(NULL_PID).counter(9), Packet(0x100).adaptation().noPayload().counter(12)});
    const auto view = fixer.process(first);
    EXPECT_EQ(view.data(), first.data());
    EXPECT_THAT(countersOf(first), ElementsAre(0, 0, 1, 9, 1));
    auto second = join(std::vector<Packet>(16, Packet(0x100).scrambled()));
    fixer.process(second);
    EXPECT_EQ(countersOf(second).front(), 2);
    EXPECT_EQ(countersOf(second).back(), 1) << "wraps at 16";
    EXPECT_EQ(second[3] & 0xF0, 0x90) << "the rest of the byte stays";
}

TEST(TsCcFixerTest, MarksTheFirstPacketOfAPidAsDiscontinuous)
{
    TsCcFixer fixer;
    auto stream = join({Packet(0x100).adaptation(), Packet(0x100).adaptation(), Packet(0x200).adaptation(0),
                        Packet(0x300).adaptation().noPayload()});
    fixer.process(stream);
    EXPECT_TRUE(Ll::hasDiscontinuity(&stream[0]));
    EXPECT_FALSE(Ll::hasDiscontinuity(&stream[TS_SIZE]));
    EXPECT_EQ(stream[2 * TS_SIZE + 5], 0xFF) << "no flags to set it in";
    EXPECT_TRUE(Ll::hasDiscontinuity(&stream[3 * TS_SIZE]));
    EXPECT_THAT(countersOf(stream), ElementsAre(0, 1, 0, 15));
}
