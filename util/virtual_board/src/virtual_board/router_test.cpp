#include "virtual_board/router.h"

#include <osl/testing/packet_maker.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <vector>

using namespace Osl::VirtualBoard;
using Osl::Testing::Packet;
using testing::ElementsAre;
using testing::IsEmpty;

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
    void pidLut(const std::vector<std::pair<uint32_t, uint32_t>>& rows, uint32_t base = 8192)
    {
        for (uint32_t row = 0; row < rows.size(); ++row) {
            words[base + row * 2] = rows[row].first;
            words[base + row * 2 + 1] = rows[row].second;
        }
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

TEST_F(RouterTest, LoopingListIsCutAndReportedOnce)
{
    words[16384 + 7 * 2] = 0x00400005;
    words[16385 + 7 * 2] = 7;
    router.fromPidIdx(7, Packet().bytes.data());
    router.fromPidIdx(7, Packet().bytes.data());
    EXPECT_EQ(sinks.outputs.size(), 2 * 4096U);
    EXPECT_THAT(sinks.complaints, ElementsAre("the replication list from PIDIDX 7 loops"));
}

TEST_F(RouterTest, TheReservedRowLeadsNowhereAndIsReportedOnce)
{
    words[16384] = 0x00400005;
    words[256 + 3] = 0x1000;
    send(3, Packet());
    send(3, Packet());
    EXPECT_THAT(sinks.outputs, IsEmpty());
    EXPECT_THAT(sinks.complaints, ElementsAre("a packet is sent to PIDIDX 0, the reserved row of the O-PID MAP"));
}

TEST_F(RouterTest, WithoutARowTheWholeStreamIsMapped)
{
    words[16384 + 7 * 2] = 0x00400005;
    words[256 + 3] = 0x1007; // TSI MAP: enabled, PIDIDX 7
    words[256 + 4] = 0x0007;
    send(3, Packet(0x1FFF));
    send(4, Packet(0x100));
    send(255, Packet(0x1FFF));
    EXPECT_THAT(sinks.outputs, ElementsAre(Copy{5, 0x1FFF}));
}

TEST_F(RouterTest, FilterLetsTheStartOfAPayloadUnitThrough)
{
    pidLut({{0x00006100, 0x04002000}, {0x00006200, 0x05002000}, {0x00006300, 0x06002000}});
    words[512 + 4] = 2;
    words[512 + 5] = 255;
    const auto sendUnit = [this](uint16_t pid) {
        send(3, Packet(pid).unit({}));
        for (int i = 0; i < 3; ++i)
            send(3, Packet(pid));
    };
    send(3, Packet(0x100)); // before a unit starts
    sendUnit(0x100);
    sendUnit(0x100);
    EXPECT_EQ(sinks.cpu.size(), 4U);
    sendUnit(0x200);
    EXPECT_EQ(sinks.cpu.size(), 8U);
    sendUnit(0x300);
    EXPECT_EQ(sinks.cpu.size(), 8U);
}

TEST_F(RouterTest, UnsortedTablesAreReportedWhenTheyBecomeActive)
{
    const auto checkAFewTimes = [this] {
        for (int i = 0; i < 3; ++i)
            router.checkPidLut();
    };
    checkAFewTimes();
    pidLut({{0x00006100, 0}, {0x00006100, 0}}, 12288);
    words[129] = 1;
    router.checkPidLut();
    EXPECT_THAT(sinks.complaints, IsEmpty()) << "may be half of an edit";
    checkAFewTimes();
    words[129] = 0;
    pidLut({{0x00006200, 0}, {0x00006100, 0}});
    checkAFewTimes();
    EXPECT_THAT(sinks.complaints, ElementsAre("PID LUT: row 1 of the active bank has the same key as the row before it",
                                              "PID LUT: row 1 of the active bank is not in order"));
}
