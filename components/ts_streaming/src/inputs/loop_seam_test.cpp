#include <osl/testing/packet_maker.h>
#include <osl/testing/test.h>
#include <osl/ts_streaming/inputs/loop_filler.h>

#include <algorithm>
#include <ostream>

using namespace Osl::Ts;
using namespace Osl::Ts::Streaming;

namespace {

constexpr uint64_t TICKS = 3000; ///< of a packet; ten at 90 kHz

/// Starts a PES packet of the stream with a DTS of so many packets.
Packet frame(uint64_t packets, uint16_t pid = 0x200)
{
    Packet packet(pid);
    packet.unit({0, 0, 1, 0xE0, 0, 0, 0x80, 0x80, 5, 0x21, 0, 1, 0, 1});
    Ll::writeStamp(&packet.bytes[13], TIME_STAMP_RANGE - 5 + packets * TICKS / 300);
    return packet;
}
Packet pcr(uint64_t packets, uint16_t pid = 0x100) { return Packet(pid).pcr(PCR_RANGE - 5 + packets * TICKS); }
const Packet PLAIN(0x200);

/// Repeats a file without an end.
struct Repeater : ITsReader
{
    explicit Repeater(std::vector<uint8_t> file) : m_File(std::move(file)) {}
    std::span<uint8_t> read(std::span<uint8_t> buffer) override
    {
        for (std::size_t at = 0; at < buffer.size(); at += TS_SIZE, m_At = (m_At + TS_SIZE) % m_File.size())
            std::copy_n(m_File.begin() + long(m_At), TS_SIZE, buffer.begin() + long(at));
        return buffer;
    }
    std::vector<uint8_t> m_File;
    std::size_t m_At = 0;
};

/// The packets that come between two passes of a file: a PCR is told by how many packets after time 0 it is, a null
/// packet by -1, any other by -2.
struct Seam
{
    std::vector<double> packets; ///< no more than some
    std::size_t count;
    std::string trouble;
};

Seam seamOf(const std::vector<Packet>& file)
{
    LoopFiller filler(std::make_unique<Repeater>(join(file)), file.size());
    std::vector<uint8_t> buffer(4 * TS_SIZE), stream;
    while (stream.size() < 60 * TS_SIZE) {
        const auto data = filler.read(buffer);
        stream.insert(stream.end(), data.begin(), data.end());
    }
    Seam seam{.packets = {}, .count = filler.seam().packets(), .trouble = filler.seam().trouble()};
    const std::size_t length = file.size() + seam.count;
    for (std::size_t i = 0; i < stream.size() / TS_SIZE; ++i) {
        const uint8_t* const packet = &stream[i * TS_SIZE];
        if (i % length < file.size()) {
            EXPECT_TRUE(std::equal(packet, packet + TS_SIZE, file[i % length].bytes.begin())) << i;
        } else if (i < length) {
            const uint64_t pcr = Ll::hasPcr(packet) ? (Ll::pcr(packet) + 5) % PCR_RANGE : 0;
            const bool isPcr = Ll::hasPcr(packet) && !Ll::hasPayload(packet);
            seam.packets.push_back(isPcr ? double(pcr) / TICKS : Ll::pid(packet) == NULL_PID ? -1 : -2);
        } else {
            EXPECT_TRUE(std::equal(packet, packet + TS_SIZE, &stream[i % length * TS_SIZE]))
                << "the same at every seam";
        }
    }
    return seam;
}

} // namespace

TEST(LoopSeamTest, FileThatFitsItsPcrsIsRepeatedAsItIs)
{
    EXPECT_THAT(seamOf({frame(0), pcr(1), frame(2), pcr(3), frame(4), pcr(5)}).packets, IsEmpty());
    EXPECT_THAT(seamOf({frame(1), pcr(1), frame(0), pcr(3), frame(3), pcr(5)}).packets, IsEmpty())
        << "the first frame in time is not the first one in the file";
}

TEST(LoopSeamTest, NullPacketsAndPcrsGoOnUntilTheLastFrameIsOver)
{
    // A frame lasts as long as the longest step before.
    EXPECT_THAT(seamOf({frame(1), pcr(1), frame(4), pcr(3), frame(5), pcr(5)}).packets, ElementsAre(-1, 7));
    EXPECT_THAT(seamOf({frame(0), pcr(1), frame(4), pcr(3), frame(8), pcr(5)}).packets,
                ElementsAre(-1, 7, -1, 9, -1, 11));
    // But a subtitle does not last until the next one, which comes after 0.71 s.
    EXPECT_EQ(seamOf({frame(0), pcr(1), PLAIN, pcr(3), frame(6400), pcr(5)}).count, 6400U - 6);
}

TEST(LoopSeamTest, PacketsBehindTheLastPcrTakeNoLongerThanAnInterval)
{
    // Ten packets in no time of their own at the end, as from a multiplexer with a varying rate.
    std::vector<Packet> file{frame(0), pcr(1), frame(1), pcr(3)};
    file.insert(file.end(), 10, PLAIN);
    EXPECT_THAT(seamOf(file).packets, ElementsAre(4));
}

TEST(LoopSeamTest, SaysWhenTimeStampsCannotRunOn)
{
    EXPECT_THAT(seamOf({frame(0), PLAIN}).trouble, HasSubstr("no PCR"));
    EXPECT_THAT(seamOf({frame(0), pcr(3), PLAIN}).trouble, HasSubstr("only one PCR"));
    EXPECT_THAT(seamOf({pcr(0), PLAIN, pcr(200'000), PLAIN}).trouble, HasSubstr("PID 256 (0x0100) jump at packet 2"));
    EXPECT_THAT(seamOf({pcr(0), frame(0), pcr(2), frame(200'000)}).trouble, HasSubstr("PID 512 (0x0200) run for 22"));
}
