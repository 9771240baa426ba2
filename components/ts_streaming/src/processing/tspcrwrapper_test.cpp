#include <osl/cpputils/log.h>
#include <osl/testing/packet_maker.h>
#include <osl/testing/test.h>
#include <osl/ts_streaming/processing/tspcrwrapper.h>

using namespace Osl::Ts;
using namespace Osl::Ts::Streaming;

namespace {

constexpr uint64_t TICKS_PER_PACKET = 3000;

/// PES header with PTS and DTS; the marker bits are to be kept set.
Packet pesPacket(uint16_t pid) // PTS 0x1_FFFF_FFFF, DTS 0
{
    return Packet(pid).unit({0, 0, 1, 0xE0, 0, 0, 0x80, 0xC0, 10, 0x3F, 0xFF, 0xFF, 0xFF, 0xFF, 0x11, 0, 1, 0, 1});
}

std::vector<uint8_t> ptsBytes(std::span<const uint8_t> stream, std::size_t packet)
{
    const auto pes = stream.subspan(packet * TS_SIZE + 4 + 9, 10);
    return {pes.begin(), pes.end()};
}

/// A file of six packets at a constant rate: a payload unit, PCRs in packets 1, 3 and, of another programme, 4.
std::vector<uint8_t> fileFrom(uint64_t start)
{
    const auto time = [start](uint64_t packet) { return (start + uint64_t{packet} * TICKS_PER_PACKET) % PCR_RANGE; };
    return join({pesPacket(0x200), Packet(0x100).pcr(time(1)), Packet(0x200), Packet(0x100).pcr(time(3)),
                 Packet(0x300).pcr(time(4)), Packet(0x200)});
}

/// `passes` times the file, as a looping reader hands them out: cut at other places than the file's ends.
std::vector<uint8_t> loop(TsPcrWrapper& wrapper, const std::vector<uint8_t>& file, int passes)
{
    std::vector<uint8_t> stream;
    for (int i = 0; i < passes; ++i)
        stream.insert(stream.end(), file.begin(), file.end());
    for (std::size_t at = 0; at < stream.size(); at += 4 * TS_SIZE)
        wrapper.process(std::span(stream).subspan(at, std::min(4 * TS_SIZE, stream.size() - at)));
    return stream;
}

std::vector<uint64_t> pcrsOf(const std::vector<uint8_t>& stream)
{
    std::vector<uint64_t> pcrs;
    for (std::size_t at = 0; at < stream.size(); at += TS_SIZE)
        if (Ll::hasPcr(&stream[at]))
            pcrs.push_back(Ll::pcr(&stream[at]));
    return pcrs;
}

} // namespace

class TsPcrWrapperPassTest : public testing::TestWithParam<std::tuple<uint64_t, uint64_t>>
{
};

TEST_P(TsPcrWrapperPassTest, EveryPcrStandsWhereItsPacketDoesInTheEndlessStream)
{
    const auto [start, packetsPerPass] = GetParam();
    TsPcrWrapper wrapper(nullptr, packetsPerPass);
    const auto stream = loop(wrapper, fileFrom(start), 4);
    for (std::size_t packet = 0; packet < 24; ++packet) {
        const uint8_t* const bytes = &stream[packet * TS_SIZE];
        if (Ll::hasPcr(bytes)) {
            EXPECT_EQ(Ll::pcr(bytes), (start + uint64_t{packet} * TICKS_PER_PACKET) % PCR_RANGE) << packet;
        }
        EXPECT_EQ(Ll::hasDiscontinuity(bytes), packet == 1) << packet;
    }
}

INSTANTIATE_TEST_SUITE_P(Starts, TsPcrWrapperPassTest,
                         testing::Combine(testing::Values(0, 7'000'299, PCR_RANGE - 2 * TICKS_PER_PACKET,
                                                          PCR_RANGE - 1),
                                          testing::Values(0, 6)));

TEST(TsPcrWrapperTest, ShiftsPtsAndDtsToTheNearest90kHzTickKeepingMarkers)
{
    // A pass of 6 * 3000 = 18000 ticks is 60 at 90 kHz: all ones and 60 wrap to 59.
    TsPcrWrapper wrapper(nullptr, 6);
    const auto stream = loop(wrapper, fileFrom(0), 2);
    EXPECT_THAT(ptsBytes(stream, 0), ElementsAre(0x3F, 0xFF, 0xFF, 0xFF, 0xFF, 0x11, 0, 1, 0, 1));
    EXPECT_THAT(ptsBytes(stream, 6), ElementsAre(0x31, 0, 1, 0, 59 << 1 | 1, 0x11, 0, 1, 0, 60 << 1 | 1));

    // Passes of 450 ticks are one and a half: rounded half up, from the whole offset each time.
    TsPcrWrapper odd(nullptr, 3);
    const auto file = join({Packet(0x100).pcr(0), Packet(0x100).pcr(150), pesPacket(0x200)});
    const auto rounded = loop(odd, file, 4);
    for (const auto& [pass, dts] : {std::pair{0U, 0}, {1U, 2}, {2U, 3}, {3U, 5}})
        EXPECT_EQ(ptsBytes(rounded, pass * 3 + 2).back(), dts << 1 | 1) << pass;
}

TEST(TsPcrWrapperTest, PassWithoutTwoPcrsRunsAtTheDefaultRate)
{
    TsPcrWrapper single(nullptr, 2);
    const auto stream = loop(single, join({Packet(0x100).pcr(1000), Packet(0x100)}), 3);
    EXPECT_THAT(pcrsOf(stream), ElementsAre(1000, 1000 + 2 * 8122, 1000 + 4 * 8122));
}

TEST(TsPcrWrapperTest, PidsOfTablesDoNotSetTheTime)
{
    for (const uint16_t pid : {uint16_t{31}, uint16_t{32}, NULL_PID}) {
        TsPcrWrapper wrapper(nullptr, 2);
        const auto stream = loop(wrapper, join({Packet(pid).pcr(0), Packet(pid).pcr(50)}), 2);
        EXPECT_THAT(pcrsOf(stream), ElementsAre(0, 50, 2 * 8122, 2 * 8122 + 50));
        EXPECT_FALSE(Ll::hasDiscontinuity(&stream[0]));
    }
}

TEST(TsPcrWrapperTest, LeavesPayloadThatIsNoPesHeaderAlone)
{
    Osl::CppUtil::Log::setUp(Osl::CppUtil::Log::Level::WARNING);
    const std::vector<std::pair<Packet, const char*>> cases{
        {Packet(0x200).unit({0, 0, 0xB0, 13, 0, 1, 0x80, 0xC0, 10, 0x31, 0, 1, 0, 1}), ""}, // a section
        {Packet(0x200).unit({0, 0, 1, 0xBE, 0, 9, 0x80, 0xC0, 10, 0x31, 0, 1, 0, 1}), ""},  // padding stream
        {Packet(0x200).unit({0, 0, 1, 0xE0, 0, 0, 0x80, 0x80, 4, 0x31, 0, 1, 0, 1}), ""},   // header too short
        {Packet(0x200).unit({0, 0, 1, 0xE0, 0, 0, 0x80, 0x00, 5, 0x31, 0, 1, 0, 1}), ""},   // no stamps
        {Packet(0x200).adaptation(179).unit({0, 0, 1, 0xE0}), ""},                          // cut before flags
        {Packet(0x200).adaptation(172).unit({0, 0, 1, 0xE0, 0, 0, 0x80, 0x80, 5, 0x21}), "across packets"},
        {pesPacket(0x200).scrambled(), "PID 512 (0x0200) is scrambled"},
    };
    for (const auto& [packet, warning] : cases) {
        TsPcrWrapper wrapper(nullptr, 3);
        const auto file = join({Packet(0x100).pcr(0), packet, Packet(0x100).pcr(6000)});
        testing::internal::CaptureStderr();
        const auto stream = loop(wrapper, file, 3);
        const std::string said = testing::internal::GetCapturedStderr();
        EXPECT_EQ(std::count(said.begin(), said.end(), '\n'), *warning == '\0' ? 0 : 1) << "warns once";
        EXPECT_THAT(said, HasSubstr(warning));
        EXPECT_TRUE(std::equal(packet.bytes.begin(), packet.bytes.end(), stream.begin() + 7 * long(TS_SIZE)));
        EXPECT_EQ(Ll::pcr(&stream[6 * TS_SIZE]), 18000U) << "the PCR moves on all the same";
    }
}
