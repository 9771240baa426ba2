#include "virtual_board/router.h"

#include <osl/testing/packet_maker.h>
#include <osl/testing/test.h>

#include <tuple>
#include <vector>

using namespace Osl::VirtualBoard;

namespace {

struct Copy
{
    int to; ///< TSI for the CPU, TSO for an output
    int pid;
    bool operator==(const Copy&) const = default;
};

struct NotingSinks : IPacketSinks
{
    void toCpu(uint8_t tsi, const uint8_t* packet) override { cpu.push_back({tsi, Osl::Ts::Ll::pid(packet)}); }
    void toOutput(uint8_t tso, const uint8_t* packet) override { outputs.push_back({tso, Osl::Ts::Ll::pid(packet)}); }
    void complain(const std::string& what) override { complaints.push_back(what); }

    std::vector<Copy> cpu, outputs;
    std::vector<std::string> complaints;
};

/// All words here are literal, so that an error in the layouts cannot hide in router and test alike.
class RouterTest : public testing::Test
{
protected:
    RouterTest()
    {
        for (uint32_t row = 0; row < 4096; ++row) {
            words[8192 + row * 2] = 0x001FFFFF; // PID LUT, both banks: stuffing
            words[8193 + row * 2] = 0xFF000FFF;
        }
    }
    /// Rows of the bank that is active at bank bit 0.
    void pidLut(const std::vector<std::pair<uint32_t, uint32_t>>& rows)
    {
        for (uint32_t row = 0; row < rows.size(); ++row)
            std::tie(words[8192 + row * 2], words[8193 + row * 2]) = rows[row];
    }
    void send(uint8_t tsi, Packet packet) { router.fromInput(tsi, packet.bytes.data()); }

    std::vector<uint32_t> words = std::vector<uint32_t>(0x8000);
    NotingSinks sinks;
    Router router{words.data(), sinks};
};

} // namespace

TEST_F(RouterTest, LooksUpTsiAndPidInTheActiveBank)
{
    pidLut({{0x00006100, 0xFF002000}, {0x00006200, 0xFF002000}, {0x00008100, 0xFF002000}}); // TSI 3, 3, 4: CPU
    send(3, Packet(0x100));
    send(3, Packet(0x101));
    send(4, Packet(0x100));
    EXPECT_THAT(sinks.cpu, ElementsAre(Copy{3, 0x100}, Copy{4, 0x100}));
    words[129] = 0xF1; // the other bank, empty
    send(3, Packet(0x100));
    EXPECT_EQ(sinks.cpu.size(), 2U);
    EXPECT_EQ(words[1024 + 3], 3U);
    EXPECT_EQ(words[1024 + 4], 1U);
}

TEST_F(RouterTest, FollowsTheReplicationListRewritingPids)
{
    pidLut({{0x00006100, 0xFF001007}}); // OUT_ROUTE to PIDIDX 7
    words[16384 + 7 * 2] = 0x00400005;  // enabled, TSO 5
    words[16385 + 7 * 2] = 9;
    words[16384 + 9 * 2] = 0x00000006; // not enabled
    words[16385 + 9 * 2] = 8;
    words[16384 + 8 * 2] = 0x00600006 | 0x234 << 8; // enabled, PID becomes 0x234, TSO 6
    send(3, Packet(0x100));
    EXPECT_THAT(sinks.outputs, ElementsAre(Copy{5, 0x100}, Copy{6, 0x234}));
    EXPECT_THAT(sinks.cpu, IsEmpty());
    EXPECT_EQ(words[1280 + 6], 1U);
    words[1280 + 6] = 0x3FFFF;
    send(3, Packet(0x100));
    EXPECT_EQ(words[1280 + 6], 0U) << "counters have 18 bits";
}

TEST_F(RouterTest, ListsThatLoopOrStartAtTheReservedRowAreCutAndReportedOnce)
{
    words[16384] = words[16384 + 7 * 2] = 0x00400005;
    words[16385 + 7 * 2] = 7;
    words[256 + 3] = 0x1000; // TSI MAP: PIDIDX 0, 7, and 7 but not enabled
    words[256 + 4] = 0x1007;
    words[256 + 5] = 0x0007;
    for (const uint8_t tsi : std::vector<uint8_t>{3, 3, 4, 4, 5})
        send(tsi, Packet(0x1FFF));
    EXPECT_EQ(sinks.outputs, std::vector(2 * 4096, Copy{5, 0x1FFF}));
    EXPECT_THAT(sinks.complaints, ElementsAre("a packet is sent to PIDIDX 0, the reserved row of the O-PID MAP",
                                              "the replication list from PIDIDX 7 loops"));
}

TEST_F(RouterTest, FilterLetsTheStartOfAPayloadUnitThrough)
{
    pidLut({{0x00006100, 0x04002000}, {0x00006200, 0x05002000}, {0x00006300, 0x06002000}});
    words[512 + 4] = 2;
    words[512 + 5] = 255;
    const auto passed = [this](uint16_t pid, int packets) {
        sinks.cpu.clear();
        send(3, Packet(pid).unit({}));
        for (int i = 1; i < packets; ++i)
            send(3, Packet(pid));
        return sinks.cpu.size();
    };
    send(3, Packet(0x100));
    EXPECT_THAT(sinks.cpu, IsEmpty()) << "before a unit starts";
    EXPECT_EQ(passed(0x100, 4), 2U);
    EXPECT_EQ(passed(0x100, 4), 2U) << "of each unit";
    EXPECT_EQ(passed(0x200, 300), 300U);
    EXPECT_EQ(passed(0x300, 4), 0U);
}

TEST_F(RouterTest, AFaultThatIsSeenOnceMayBeHalfOfAnEdit)
{
    pidLut({{0x00006100, 0}, {0x00006100, 0}});
    router.checkPidLut();
    EXPECT_THAT(sinks.complaints, IsEmpty());
    router.checkPidLut();
    router.checkPidLut();
    EXPECT_THAT(sinks.complaints,
                ElementsAre("PID LUT: row 1 of the active bank has the same key as the row before it"));
}
