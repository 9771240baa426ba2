#include "virtual_board/board_folder.h"
#include "virtual_board/loop_counters.h"
#include "virtual_board/stream_outputs.h"

#include <osl/testing/packet_maker.h>
#include <osl/testing/temp_folder.h>
#include <osl/testing/test.h>

using namespace Osl::VirtualBoard;
using Words = std::vector<uint32_t>;

namespace {

/// All words here are literal, so that an error in the layouts cannot hide in model and test alike.
class StreamOutputsTest : public testing::Test
{
protected:
    StreamOutputsTest() { makeBoard(m_Root.root()); }
    void send(uint8_t tso, Packet packet) { m_Outputs->send(tso, packet.bytes.data(), {}); }
    std::size_t packetsIn(const std::string& output) const
    {
        return m_Root.text("/dev/zebtsif_outputs/" + output).size() / 188;
    }

    TempFolder m_Root;
    Words m_Words = Words(0x1000);
    std::vector<std::string> m_Complaints;
    std::unique_ptr<StreamOutputs> m_Outputs = std::make_unique<StreamOutputs>(
        m_Words.data(), m_Root.root(), Network::NONE, [this](const std::string& what) { m_Complaints.push_back(what); },
        [](uint32_t, const uint8_t*) {});
};

} // namespace

TEST_F(StreamOutputsTest, RowsLeadToTheirOutputsFromPacketToPacket)
{
    m_Words[256 + 3] = 0x11F; // TSO 3: scm7
    m_Words[256 + 5] = 0x001; // not enabled
    send(3, Packet());
    send(3, Packet());
    send(5, Packet());
    m_Words[256 + 3] = 0x100 | 8; // modulator8, after that none
    send(3, Packet());
    m_Words[256 + 3] = 0x100 | 28;
    send(3, Packet());
    send(3, Packet());
    m_Outputs->update({});
    EXPECT_EQ(packetsIn("scm7.ts"), 2U);
    EXPECT_EQ(packetsIn("modulator1.ts"), 0U);
    EXPECT_EQ(packetsIn("modulator8.ts"), 1U);
    EXPECT_THAT(m_Complaints, ElementsAre("a stream is mapped to PHYOIDX 28, where the board has no output"));
}

TEST_F(StreamOutputsTest, CamMonitorsFollowTheirTableAndCountIn20Bits)
{
    m_Words[256 + 3] = 0x100 | 18; // cam2
    const std::string folder = "/sys/class/zebdvbci/ci_slot0:2/";
    m_Root.put(folder + "mon_pidtab", Words{0x200, 0x100});
    m_Root.put(folder + "mon_pktcntrs", Words{0, 0xFFFFF});
    for (const uint8_t counter : std::vector<uint8_t>{0, 1, 3})
        send(3, Packet(0x100).counter(counter));
    send(3, Packet(0x101));
    m_Outputs->update({});
    m_Root.put(folder + "mon_pidtab", Words{0x101, 0x100});
    send(3, Packet(0x101));
    send(3, Packet(0x100).counter(4));
    m_Outputs->update({});
    EXPECT_THAT(m_Root.words(folder + "mon_pktcntrs"), ElementsAre(1, 3));
    EXPECT_EQ(m_Root.words(folder + "mon_errcntrs")[1], 1U);
}

TEST(LoopCountersTest, CountersRunOnWhereTheFileStartsAgainAndErrorsStay)
{
    LoopCounters loop(nullptr, 3);
    std::vector<int> counters;
    for (int pass = 0; pass < 2; ++pass) {
        auto bytes = join({Packet(1).counter(3), Packet(1).counter(5), Packet(2).counter(0)});
        loop.process(bytes);
        for (std::size_t at = 3; at < bytes.size(); at += 188)
            counters.push_back(bytes[at] & 0x0F);
    }
    EXPECT_THAT(counters, ElementsAre(3, 5, 0, 6, 8, 1));
}
