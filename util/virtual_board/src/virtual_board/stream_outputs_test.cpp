#include "virtual_board/board_folder.h"
#include "virtual_board/continuity_check.h"
#include "virtual_board/loop_counters.h"
#include "virtual_board/stream_outputs.h"
#include "virtual_board/whole_file.h"

#include <osl/testing/packet_maker.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <stdlib.h>

using namespace Osl::VirtualBoard;
using Osl::Testing::Packet;
using testing::ElementsAre;
namespace fs = std::filesystem;

namespace {

/// All words here are literal, so that an error in the layouts cannot hide in model and test alike.
class StreamOutputsTest : public testing::Test
{
public:
    StreamOutputsTest() : m_Root(::mkdtemp(m_Name)) { makeBoard(m_Root); }
    ~StreamOutputsTest() override { fs::remove_all(m_Root); }

protected:
    void send(uint8_t tso, Packet packet) { m_Outputs->send(tso, packet.bytes.data(), {}); }
    std::uintmax_t packetsIn(const char* output) const
    {
        const fs::path file = m_Root / "dev/zebtsif_outputs" / output;
        return fs::exists(file) ? fs::file_size(file) / 188 : 0;
    }

    char m_Name[40] = "/tmp/virtual_board_outputs.XXXXXX";
    fs::path m_Root;
    std::vector<uint32_t> m_Words = std::vector<uint32_t>(0x1000);
    std::vector<std::string> m_Complaints;
    std::unique_ptr<StreamOutputs> m_Outputs = std::make_unique<StreamOutputs>(
        m_Words.data(), m_Root, Network::NONE, [this](const std::string& what) { m_Complaints.push_back(what); });
};

/// Errors of packets with these counters, the flags of the packets in between.
template <class... Packets>
std::vector<bool> errorsOf(Packets... packets)
{
    ContinuityCheck check;
    return {check.isError(packets.bytes.data())...};
}

} // namespace

TEST_F(StreamOutputsTest, EnabledRowsLeadToFilesOfTheirOutputs)
{
    m_Words[256 + 3] = 0x100;     // TSO 3: modulator0
    m_Words[256 + 4] = 0x11F;     // TSO 4: scm7
    m_Words[256 + 5] = 0x001;     // not enabled
    m_Words[256 + 6] = 0x100 | 8; // modulator8, after that none
    send(3, Packet());
    send(3, Packet());
    send(4, Packet());
    send(5, Packet());
    send(6, Packet());
    m_Words[256 + 6] = 0x100 | 28;
    send(6, Packet());
    send(6, Packet());
    m_Outputs->update({});
    EXPECT_EQ(packetsIn("modulator0.ts"), 2U);
    EXPECT_EQ(packetsIn("scm7.ts"), 1U);
    EXPECT_EQ(packetsIn("modulator1.ts"), 0U);
    EXPECT_EQ(packetsIn("modulator8.ts"), 1U);
    EXPECT_THAT(m_Complaints, ElementsAre("a stream is mapped to PHYOIDX 28, where the board has no output"));
    fs::remove(m_Root / "dev/zebtsif_outputs/scm7.ts");
    send(4, Packet());
    m_Outputs->update({});
    EXPECT_EQ(packetsIn("scm7.ts"), 1U);
}

TEST_F(StreamOutputsTest, CamMonitorsAddToTheirFiles)
{
    m_Words[256 + 3] = 0x100 | 18; // cam2
    const fs::path folder = m_Root / "sys/class/zebdvbci/ci_slot0:2";
    const auto watch = [&folder](uint32_t entry, uint32_t pid) {
        std::fstream(folder / "mon_pidtab", std::ios::in | std::ios::out | std::ios::binary)
            .seekp(std::streamoff{4} * entry)
            .write(reinterpret_cast<const char*>(&pid), sizeof pid);
    };
    watch(0, 0x200);
    watch(5, 0x100);
    for (const int counter : {0, 1, 3})
        send(3, Packet(0x100).counter(static_cast<uint8_t>(counter)));
    send(3, Packet(0x101));
    m_Outputs->update({});
    watch(0, 0x101);
    send(3, Packet(0x101));
    send(3, Packet(0x100).counter(4));
    m_Outputs->update({});
    const auto packets = readWords(folder / "mon_pktcntrs");
    const auto errors = readWords(folder / "mon_errcntrs");
    EXPECT_EQ(packets.size(), 32U);
    EXPECT_EQ(packets[0], 1U);
    EXPECT_EQ(packets[5], 4U);
    EXPECT_EQ(errors[5], 1U);
    EXPECT_EQ(errors[0], 0U);
}

TEST_F(StreamOutputsTest, GroupsThatAreNoneAreReportedOnce)
{
    m_Words[1024 + 3 * 4 + 2] = 0x0A000001;
    m_Words[1024 + 3 * 4 + 3] = 0x20050;
    send(3, Packet());
    send(3, Packet());
    EXPECT_THAT(m_Complaints, ElementsAre("TSO 3 is sent to 10.0.0.1, which is not a multicast group"));
}

TEST(ContinuityCheckTest, FollowsTheRules)
{
    const auto at = [](uint8_t counter) { return Packet().counter(counter); };
    EXPECT_THAT(errorsOf(at(14), at(15), at(0), at(2)), ElementsAre(false, false, false, true));
    EXPECT_THAT(errorsOf(at(1), at(1), at(1), at(2)),
                ElementsAre(false, false, true, false)); // repeated once and twice
    EXPECT_THAT(errorsOf(at(1), at(1).adaptation().noPayload(), at(2)), ElementsAre(false, false, false));
    EXPECT_THAT(errorsOf(at(1), at(2).adaptation().noPayload()), ElementsAre(false, true));
    Packet announced = at(9).adaptation();
    announced.bytes[5] = 0x80;
    EXPECT_THAT(errorsOf(at(1), announced, at(10)), ElementsAre(false, false, false));
}

TEST(LoopCountersTest, CountersRunOnWhereTheFileStartsAgainAndErrorsStay)
{
    LoopCounters loop(nullptr, 3);
    std::vector<int> counters;
    for (int pass = 0; pass < 2; ++pass) {
        auto bytes = Osl::Testing::join({Packet(1).counter(3), Packet(1).counter(5), Packet(2).counter(0)});
        loop.process(bytes);
        for (std::size_t at = 3; at < bytes.size(); at += 188)
            counters.push_back(bytes[at] & 0x0F);
    }
    EXPECT_THAT(counters, ElementsAre(3, 5, 0, 6, 8, 1));
}
