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
#include <tuple>

using namespace Osl::Drivers::Zeb;
using Osl::CppUtil::InvalidArgumentError;
using Osl::Drivers::IMemIf;
using Osl::Drivers::MemAccessType;
using Osl::Testing::failureOf;
using Osl::Testing::FakeMem;
using testing::ElementsAre;
using testing::StartsWith;

namespace {

using Words = std::vector<uint32_t>;
using Print = void (*)(IMemIf&, uint32_t, uint32_t, bool, bool, std::ostream&);

constexpr bool ACTIVE = false, INACTIVE = true;
constexpr bool IN_USE = false, ALL = true;

/// A block's memory, to be filled row by row.
struct Block : FakeMem
{
    Block() : FakeMem(0x8000) {}
    Block& put(uint32_t offset, const Words& row)
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
    const auto expectLine = [](Print print, uint32_t row, uint32_t offset, const Words& words, const char* line) {
        EXPECT_EQ(Block().put(offset, words).printed(print, row, 1, ACTIVE, IN_USE), line);
    };
    expectLine(printPidLut, 5, 8202, {0x00006100, 0xFF002007},
               "005 (0x0000200a): TSIIDX:003, PID:0x0100(0256), PIDIDX:0007, CPU_ROUTE:YES, OUT_ROUTE:NO, "
               "FILTIDX:255\n");
    expectLine(printPidLut, 2047, 12286, {0x001FFFFF, 0x01001FFE},
               "2047 (0x00002ffe): TSIIDX:255, PID:0x1fff(8191), PIDIDX:4094, CPU_ROUTE:NO, OUT_ROUTE:YES, "
               "FILTIDX:001\n");
    expectLine(printTsiMap, 9, 265, {0x1007}, "009 (0x00000109): TSIIDX:009, PIDIDX:0007, ENABLED:YES\n");
    expectLine(printOPidMap, 12, 16408, {0x00602002, 13},
               "0012 (0x00004018): PIDIDX:0012, OPID:0x0020(0032), TSOIDX:002, NEXTPIDIDX:0013, ENABLED:YES, "
               "REMAP:YES\n");
    expectLine(printIpLut, 3, 2054, {0xEFC0002A, 0x01020050},
               "003 (0x00000806): IP:239.192.0.42, UDP_PORT:00080, TSIIDX:002, ENABLED:YES\n");
    expectLine(printPhysInMap, 6, 134, {7}, "006 (0x00000086): PHYIIDX:06, TSIIDX:007\n");
    expectLine(printPhysOutMap, 8, 264, {0x103}, "008 (0x00000108): TSOIDX:008, PHYOIDX:003, ENABLED:YES\n");
    expectLine(printIpOutMap, 10, 1064, {0x00000100, 0x5EC0002A, 0xEFC0002A, 0x00030005},
               "010 (0x00000428): TSOIDX:010, MAC:01:00:5E:C0:00:2A, IP:239.192.0.42, PORT:05, RTP:YES, "
               "ENABLED:YES\n");
}

TEST(ReadOutTest, RowsThatAreNotInUseAreShownOnRequestOnly)
{
    struct Case
    {
        Print print;
        uint32_t offset;
        Words unused, used;
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

TEST(ReadOutTest, ThePidLutIsReadFromTheBankAskedForAndTheIpLutAtOneAddress)
{
    Block block;
    block.put(8192, {0, 0x1001}).put(12288, {0, 0x1002}).put(2048, {0xEF000001, 0x01050001});
    for (const uint32_t control : {0xFFFFFFFEU, 0xFFFFFFFFU}) {
        const bool bank = control % 2 == 1;
        block.words[129] = block.words[0] = control;
        EXPECT_EQ(getActivePidLutBank(block), bank);
        EXPECT_EQ(getActiveIpLutBank(block), bank);
        for (const bool inactive : {ACTIVE, INACTIVE}) {
            EXPECT_EQ(getPidLut(block, 0, 1, inactive, IN_USE).front().getPIDIDX(), bank != inactive ? 2 : 1);
            EXPECT_THAT(block.printed(printPidLut, 0, 1, inactive, IN_USE),
                        StartsWith(bank != inactive ? "000 (0x00003000)" : "000 (0x00002000)"));
            EXPECT_EQ(getIpLut(block, 0, 256, inactive, IN_USE).front().getTSIidx(), 5);
        }
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

TEST(ReadOutTest, AStreamThatRaisesEndsTheReadOutWithItsError)
{
    for (const uint32_t rows : {1U, 2048U}) { // with the last piece, and before
        Block block;
        struct : std::streambuf
        {
        } takesNothing;
        std::ostream out(&takesNothing);
        out.exceptions(std::ios::badbit | std::ios::failbit);
        EXPECT_THROW(printPidLut(block, 0, rows, ACTIVE, ALL, out), std::ios::failure);
        block.failAtAccess(1 + 2);
        EXPECT_THROW(printPidLut(block, 0, 2048, ACTIVE, ALL, out), Osl::Drivers::DevMemError);
    }
}

TEST(PortNamesTest, NamesLeadToTheirIndicesAndGapsStayGaps)
{
    EXPECT_THAT((std::array{physicalInputs().size(), physicalOutputs().size(), mediaPlayers().size()}),
                ElementsAre(32, 26, 4));
    EXPECT_EQ(physicalOutputs().at("modulator3"), 3U);
    EXPECT_EQ(physicalInputs().count("modulator3"), 0U);

    using Index = uint32_t (*)(uint32_t);
    const std::tuple<Index, uint32_t, uint32_t> ports[] = {
        {tunerIndex, 0, 0},       {tunerIndex, 15, 15},    {tunerIndex, 16, 32},   {tunerIndex, 21, 37},
        {camInputIndex, 7, 23},   {camOutputIndex, 0, 16}, {scmInputIndex, 0, 24}, {scmOutputIndex, 7, 31},
        {modulatorIndex, 15, 15}, {mediaPlayerIndex, 3, 3}};
    for (const auto& [index, number, expected] : ports)
        EXPECT_EQ(index(number), expected) << number;
    EXPECT_EQ(failureOf<std::out_of_range>([] { scmInputIndex(1); }), "map::at");
    const std::pair<Index, uint32_t> gaps[] = {{camInputIndex, 8},   {camOutputIndex, 8}, {tunerIndex, 22},
                                               {modulatorIndex, 16}, {scmOutputIndex, 6}, {mediaPlayerIndex, 4}};
    for (const auto& [index, number] : gaps)
        EXPECT_THROW(index(number), std::out_of_range) << number;
}
