#include <osl/testing/failure_of.h>
#include <osl/testing/fake_mem.h>
#include <osl/userspace_drivers/drivers/zeb/ts/diag/iplut_diag.h>
#include <osl/userspace_drivers/drivers/zeb/ts/diag/pidlut_diag.h>
#include <osl/userspace_drivers/drivers/zeb/ts/diag/port_names.h>

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>

using namespace Osl::Drivers::Zeb;
using Osl::CppUtil::InvalidArgumentError;
using Osl::Drivers::IMemIf;
using Osl::Drivers::MemAccessType;
using Osl::Testing::failureOf;
using Osl::Testing::FakeMem;
using testing::ElementsAre;
using testing::StartsWith;

namespace {

using Print = void (*)(IMemIf&, uint32_t, uint32_t, bool, bool, std::ostream&);

constexpr bool ACTIVE = false, INACTIVE = true;
constexpr bool IN_USE = false, ALL = true;

/// A block's memory, to be filled row by row.
struct Block : FakeMem
{
    Block() : FakeMem(0x8000) {}
    Block& put(uint32_t offset, const std::vector<uint32_t>& row)
    {
        std::copy(row.begin(), row.end(), words.begin() + offset);
        return *this;
    }
    std::string printed(Print print, uint32_t offset, uint32_t count, bool inactive, bool showAll)
    {
        std::ostringstream out;
        print(*this, offset, count, inactive, showAll, out);
        return out.str();
    }
};

} // namespace

TEST(ReadOutTest, LinesShowEveryFieldInItsWidth)
{
    Block pid;
    pid.put(8192 + 2 * 5, {0x00006100, 0xFF002007}).put(256 + 9, {0x1007}).put(16384 + 2 * 12, {0x00602002, 13});
    EXPECT_EQ(pid.printed(printPidLut, 5, 1, ACTIVE, IN_USE),
              "005 (0x0000200a): TSIIDX:003, PID:0x0100(0256), PIDIDX:0007, CPU_ROUTE:YES, OUT_ROUTE:NO, "
              "FILTIDX:255\n");
    EXPECT_EQ(pid.printed(printTsiMap, 9, 1, ACTIVE, IN_USE),
              "009 (0x00000109): TSIIDX:009, PIDIDX:0007, ENABLED:YES\n");
    EXPECT_EQ(pid.printed(printOPidMap, 12, 1, ACTIVE, IN_USE),
              "0012 (0x00004018): PIDIDX:0012, OPID:0x0020(0032), TSOIDX:002, NEXTPIDIDX:0013, ENABLED:YES, "
              "REMAP:YES\n");
    pid.put(8192 + 2 * 2047, {0x001FFFFF, 0xFF001FFE});
    EXPECT_EQ(pid.printed(printPidLut, 2047, 1, ACTIVE, IN_USE),
              "2047 (0x00002ffe): TSIIDX:255, PID:0x1fff(8191), PIDIDX:4094, CPU_ROUTE:NO, OUT_ROUTE:YES, "
              "FILTIDX:255\n");

    Block io;
    io.put(2048 + 2 * 3, {0xEFC0002A, 0x01020050}).put(128 + 6, {7}).put(256 + 8, {0x103});
    io.put(1024 + 4 * 10, {0x00000100, 0x5EC0002A, 0xEFC0002A, 0x00030005});
    EXPECT_EQ(io.printed(printIpLut, 3, 1, ACTIVE, IN_USE),
              "003 (0x00000806): IP:239.192.0.42, UDP_PORT:00080, TSIIDX:002, ENABLED:YES\n");
    EXPECT_EQ(io.printed(printPhysInMap, 6, 1, ACTIVE, IN_USE), "006 (0x00000086): PHYIIDX:06, TSIIDX:007\n");
    EXPECT_EQ(io.printed(printPhysOutMap, 8, 1, ACTIVE, IN_USE),
              "008 (0x00000108): TSOIDX:008, PHYOIDX:003, ENABLED:YES\n");
    EXPECT_EQ(io.printed(printIpOutMap, 10, 1, ACTIVE, IN_USE),
              "010 (0x00000428): TSOIDX:010, MAC:01:00:5E:C0:00:2A, IP:239.192.0.42, PORT:05, RTP:YES, ENABLED:YES\n");
}

TEST(ReadOutTest, RowsThatAreNotInUseAreShownOnRequestOnly)
{
    struct Case
    {
        Print print;
        uint32_t offset;
        std::vector<uint32_t> unused, used;
    };
    const Case cases[] = {
        {printPidLut, 8192, {0x001FFFFF, 0xFF000FFF}, {0x001FFFFF, 0xFF000FFE}},
        {printPidLut, 8192, {0x001FFFFF, 0xFF001FFF}, {0x001FFFFF, 0xFF002FFF}}, // stuffing, whatever OUT_ROUTE says
        {printPidLut, 8192, {0x001FFFFF, 0xFF000FFF}, {0x00000000, 0x00000000}},
        {printTsiMap, 256, {0x0FFF}, {0x1FFF}},
        {printOPidMap, 16386, {0x003FFFFF, 5}, {0x00400000, 0}},
        {printIpLut, 2048, {0xEF000001, 0x00010001}, {0, 0x01000000}},
        {printPhysInMap, 128, {0xFF}, {0xFE}},
        {printPhysOutMap, 256, {0x0FF}, {0x1FF}},
        {printIpOutMap, 1024, {0x100, 1, 1, 0x10001}, {0, 0, 0, 0x20000}},
    };
    for (const Case& c : cases) {
        const uint32_t row = c.print == printOPidMap ? 1 : 0;
        Block block;
        block.put(c.offset, c.unused);
        EXPECT_EQ(block.printed(c.print, row, 1, ACTIVE, IN_USE), "") << c.offset;
        EXPECT_NE(block.printed(c.print, row, 1, ACTIVE, ALL), "") << c.offset;
        block.put(c.offset, c.used);
        EXPECT_NE(block.printed(c.print, row, 1, ACTIVE, IN_USE), "") << c.offset;
    }
}

TEST(ReadOutTest, RowsBeyondTheTableAreRefusedBeforeAnyAccess)
{
    struct Case
    {
        Print print;
        uint32_t rows;
        const char* name;
    };
    for (const Case& c :
         {Case{printPidLut, 2048, "PID LUT"}, Case{printTsiMap, 256, "TSI MAP"}, Case{printOPidMap, 4096, "O-PID MAP"},
          Case{printIpLut, 256, "IP LUT"}, Case{printPhysInMap, 64, "PHYS IN MAP"},
          Case{printPhysOutMap, 256, "PHYS OUT MAP"}, Case{printIpOutMap, 256, "PHYS OUT MAP"}}) {
        Block block;
        const auto refusal = [&](uint32_t offset, uint32_t count) {
            return failureOf<InvalidArgumentError>([&] { block.printed(c.print, offset, count, ACTIVE, ALL); });
        };
        const auto text = [&](uint32_t offset, uint32_t count) {
            return StartsWith(fmt::format("Invalid Argument Error: Offset ({}) and count ({}) exceeds the size ({}) of "
                                          "the ZEB {}.(",
                                          offset, count, c.rows, c.name));
        };
        EXPECT_THAT(refusal(c.rows - 1, 2), text(c.rows - 1, 2));
        EXPECT_THAT(refusal(c.rows + 1, 0), text(c.rows + 1, 0));
        EXPECT_THAT(refusal(0xFFFFFFFF, 2), text(0xFFFFFFFF, 2));
        EXPECT_THAT(refusal(1, 0xFFFFFFFF), text(1, 0xFFFFFFFF));
        EXPECT_TRUE(block.log.empty());
        EXPECT_EQ(block.printed(c.print, c.rows, 0, ACTIVE, ALL), "");
        EXPECT_NE(block.printed(c.print, c.rows - 1, 1, ACTIVE, ALL), "");
    }
    Block block;
    EXPECT_THAT(failureOf<InvalidArgumentError>([&] { block.printed(printOPidMap, 0, 5000, ACTIVE, ALL); }),
                StartsWith("Invalid Argument Error: Offset value 0 is not permitted in the ZEB O-PID MAP, since this "
                           "is a reserved value.("));
}

TEST(ReadOutTest, ThePidLutIsReadFromTheBankAskedFor)
{
    Block block;
    block.put(8192, {0, 0x1001}).put(12288, {0, 0x1002});
    const auto pidIdx = [&](bool inactive) { return getPidLut(block, 0, 1, inactive, IN_USE).front().getPIDIDX(); };
    for (const uint32_t control : {0xFFFFFFFEU, 0xFFFFFFFFU}) {
        block.words[129] = control;
        EXPECT_EQ(getActivePidLutBank(block), control % 2 == 1);
        EXPECT_EQ(pidIdx(ACTIVE), control % 2 == 0 ? 1 : 2);
        EXPECT_EQ(pidIdx(INACTIVE), control % 2 == 0 ? 2 : 1);
        EXPECT_THAT(block.printed(printPidLut, 0, 1, ACTIVE, IN_USE),
                    StartsWith(control % 2 == 0 ? "000 (0x00002000)" : "000 (0x00003000)"));
    }
}

TEST(ReadOutTest, TheIpLutIsReadAtOneAddress)
{
    Block block;
    block.put(2048, {0xEF000001, 0x01050001});
    for (const uint32_t control : {0, 1}) {
        block.words[0] = control;
        EXPECT_EQ(getActiveIpLutBank(block), control == 1);
        for (const bool inactive : {ACTIVE, INACTIVE})
            EXPECT_EQ(getIpLut(block, 0, 256, inactive, IN_USE).front().getTSIidx(), 5);
    }
}

TEST(ReadOutTest, GettersTakeRowsInOrderAndLeaveOutThoseThatAreNotInUse)
{
    Block pid;
    // No route at all, to the CPU, stuffing with a route to the outputs.
    pid.put(8192, {0x00002001, 0xFF000001, 0x00002002, 0xFF002002, 0x001FFFFF, 0xFF001FFF});
    const auto pidIndices = [&](bool showAll) {
        std::vector<int> indices;
        for (const PidLutEntry& entry : getPidLut(pid, 0, 3, ACTIVE, showAll))
            indices.push_back(entry.getPIDIDX());
        return indices;
    };
    EXPECT_THAT(pidIndices(IN_USE), ElementsAre(2, 4095));
    EXPECT_THAT(pidIndices(ALL), ElementsAre(1, 2, 4095));

    Block io;
    io.put(2048, {0xEF000002, 0x01020001, 0xEF000001, 0x00010001, 0xEF000003, 0x01030001});
    EXPECT_EQ(getIpLut(io, 0, 3, ACTIVE, IN_USE).size(), 2U);
    EXPECT_EQ(getIpLut(io, 0, 3, ACTIVE, ALL).size(), 3U);
    EXPECT_EQ(getIpLut(io, 0, 256, ACTIVE, IN_USE).back().getTSIidx(), 3);
}

TEST(ReadOutTest, EveryRowIsReadOnceAsABlock)
{
    Block block;
    block.printed(printPidLut, 5, 2, ACTIVE, ALL);
    block.printed(printIpOutMap, 5, 1, ACTIVE, ALL);
    EXPECT_THAT(block.log, ElementsAre(FakeMem::Operation{MemAccessType::R32, 129, {0}},
                                       FakeMem::Operation{MemAccessType::R32, 8202, {0, 0}},
                                       FakeMem::Operation{MemAccessType::R32, 8204, {0, 0}},
                                       FakeMem::Operation{MemAccessType::R32, 1044, {0, 0, 0, 0}}));
}

TEST(ReadOutTest, ADeviceThatFailsHalfWayLeavesTheLinesBefore)
{
    Block block;
    std::ostringstream out;
    block.failAtAccess(1 + 2 * 3 + 1);
    EXPECT_THROW(printPidLut(block, 0, 2048, ACTIVE, ALL, out), Osl::Drivers::DevMemError);
    const std::string printed = out.str();
    EXPECT_EQ(std::count(printed.begin(), printed.end(), '\n'), 3);
    EXPECT_THAT(printed, testing::EndsWith("FILTIDX:000\n"));
}

TEST(PortNamesTest, NamesLeadToTheirIndicesAndGapsStayGaps)
{
    EXPECT_EQ(physicalInputs().size(), 32U);
    EXPECT_EQ(physicalOutputs().size(), 26U);
    EXPECT_EQ(mediaPlayers().size(), 4U);
    EXPECT_EQ(tunerIndex(0), 0U);
    EXPECT_EQ(tunerIndex(15), 15U);
    EXPECT_EQ(tunerIndex(16), 32U);
    EXPECT_EQ(tunerIndex(21), 37U);
    EXPECT_EQ(camInputIndex(7), 23U);
    EXPECT_EQ(camOutputIndex(0), 16U);
    EXPECT_EQ(scmInputIndex(0), 24U);
    EXPECT_EQ(scmOutputIndex(7), 31U);
    EXPECT_EQ(modulatorIndex(15), 15U);
    EXPECT_EQ(mediaPlayerIndex(3), 3U);
    EXPECT_EQ(physicalOutputs().at("modulator3"), 3U);
    EXPECT_EQ(physicalInputs().count("modulator3"), 0U);
    EXPECT_EQ(failureOf<std::out_of_range>([] { scmInputIndex(1); }), "map::at");
    for (uint32_t (*index)(uint32_t) : {camInputIndex, camOutputIndex})
        EXPECT_THROW(index(8), std::out_of_range);
    EXPECT_THROW(tunerIndex(22), std::out_of_range);
    EXPECT_THROW(modulatorIndex(16), std::out_of_range);
    EXPECT_THROW(scmOutputIndex(6), std::out_of_range);
    EXPECT_THROW(mediaPlayerIndex(4), std::out_of_range);
}
