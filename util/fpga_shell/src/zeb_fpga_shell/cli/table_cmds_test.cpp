#include "zeb_fpga_shell/cli/table_clear_cmds.h"
#include "zeb_fpga_shell/cli/table_read_cmds.h"
#include "zeb_fpga_shell/cli/table_write_cmds.h"

#include <osl/cpputils/stringutils.h>
#include <osl/testing/argument_vector.h>
#include <osl/testing/fake_mem.h>
#include <osl/userspace_drivers/drivers/drivererror.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>
#include <tuple>

using namespace Osl::Utils;
using Osl::Testing::ArgumentVector;
using Osl::Testing::FakeMem;
using testing::HasSubstr;

namespace {

/// A command with the block it works on.
struct Command
{
    Command(const PidTableCmdDecl& declaration) : decl(declaration), onPidBlock(true) {}
    Command(const IoTableCmdDecl& declaration) : decl(declaration), onPidBlock(false) {}

    const TableCmdDecl& decl;
    bool onPidBlock;
};

/// Both blocks of a freshly reset FPGA, as the clear commands leave them, and commands that run on them.
class TableCmdsTest : public testing::Test
{
protected:
    TableCmdsTest()
    {
        for (const Command& clear :
             {Command(CLEAR_TSI_MAP), Command(CLEAR_PID_LUT), Command(CLEAR_O_PID_MAP), Command(CLEAR_IP_LUT),
              Command(CLEAR_IP_OUT_MAP), Command(CLEAR_PHYS_OUT_MAP), Command(CLEAR_PHYS_IN_MAP)})
            run(clear, "");
        m_Pid->accesses = m_Io->accesses = 0;
        m_Pid->log.clear();
    }

    /// Output of the command with the arguments in `line`.
    std::string run(const Command& command, const std::string& line)
    {
        Options options("cmd", "");
        options.add(command.decl.options);
        ArgumentVector arguments(Osl::CppUtil::split(line.empty() ? "cmd" : "cmd " + line, ' '));
        EXPECT_TRUE(options.parse(arguments.argc(), arguments.argv()));
        std::ostringstream out;
        command.decl.run(options, command.onPidBlock ? m_Pid : m_Io, out);
        return out.str();
    }
    std::string pidLut() { return run(READ_PID_LUT, "-a"); }

    /// Error of a command that must not have written anything.
    std::string refusal(const Command& command, const std::string& line)
    {
        const std::vector<uint32_t> pidBefore = m_Pid->words;
        const std::vector<uint32_t> ioBefore = m_Io->words;
        std::string text = "nothing raised";
        try {
            run(command, line);
        } catch (const Osl::Error& error) {
            text = error.what();
        }
        EXPECT_EQ(m_Pid->words, pidBefore) << text;
        EXPECT_EQ(m_Io->words, ioBefore) << text;
        return text;
    }

    std::shared_ptr<FakeMem> m_Pid = std::make_shared<FakeMem>(0x8000);
    std::shared_ptr<FakeMem> m_Io = std::make_shared<FakeMem>(0x1000);
};

std::ptrdiff_t linesIn(const std::string& text) { return std::count(text.begin(), text.end(), '\n'); }

} // namespace

TEST_F(TableCmdsTest, APidLutRowThatRoutesNowhereGoesWithTheNextEdit)
{
    run(WRITE_PID_LUT, "-t 9 -p 1 -P 1");
    EXPECT_THAT(pidLut(), HasSubstr("TSIIDX:009"));
    run(WRITE_PID_LUT, "-t 3 -p 1 -C");
    EXPECT_THAT(pidLut(), testing::Not(HasSubstr("TSIIDX:009")));
}

TEST_F(TableCmdsTest, OfTwoPidLutRowsWithOneKeyTheFirstStays)
{
    for (uint32_t row = 0; row < 2; ++row) {
        m_Pid->words[8192 + 2 * row] = 0x00006100;
        m_Pid->words[8192 + 2 * row + 1] = 0x2007 + row;
    }
    run(WRITE_PID_LUT, "-t 9 -p 1 -C");
    EXPECT_THAT(pidLut(), HasSubstr("TSIIDX:003, PID:0x0100(0256), PIDIDX:0007"));
    EXPECT_THAT(pidLut(), testing::Not(HasSubstr("PIDIDX:0008")));
}

TEST_F(TableCmdsTest, AFullPidLutTakesEditsAtTheDeviceAccessesItNeedsAndNoFurtherRow)
{
    for (uint32_t row = 0; row < 2048; ++row) {
        m_Pid->words[8192 + 2 * row] = row / 8 << 13 | row % 8;
        m_Pid->words[8192 + 2 * row + 1] = 0x1007;
    }
    run(WRITE_PID_LUT, "-t 255 -p 7 -P 9 -O");
    // Active bank: control word and 2048 rows of 2 words. Spare bank: the same, then the control word read and written.
    EXPECT_EQ(m_Pid->accesses, 1U + 4096U + 1U + 4096U + 2U);
    EXPECT_EQ(m_Pid->log.size(), 1U + 2048U + 1U + 2048U + 2U);
    EXPECT_EQ(m_Pid->words[129], 1U);
    EXPECT_THAT(refusal(WRITE_PID_LUT, "-t 255 -p 8 -C"), HasSubstr("List is 2049 .ZEBTSIF FPGA"));
}

TEST_F(TableCmdsTest, SingleRowsAreWrittenWithTheirDefaultsAndClearedToStuffing)
{
    struct Case
    {
        Command write;
        const char *arguments, *key;
        Command read;
        const char* line;
    };
    const Case cases[] = {
        {WRITE_TSI_MAP, "-t 255 -P 7", "-t 255 ", READ_TSI_MAP,
         "255 (0x000001ff): TSIIDX:255, PIDIDX:0007, ENABLED:YES\n"},
        {WRITE_TSI_MAP, "", "", READ_TSI_MAP, "000 (0x00000100): TSIIDX:000, PIDIDX:4095, ENABLED:YES\n"},
        {WRITE_O_PID_MAP, "-P 7 -t 2", "-P 7 ", READ_O_PID_MAP,
         "0007 (0x0000400e): PIDIDX:0007, OPID:0x1fff(8191), TSOIDX:002, NEXTPIDIDX:0000, ENABLED:YES, REMAP:NO\n"},
        {WRITE_O_PID_MAP, "-P 7 -p 0x20 -N 8", "-P 7 ", READ_O_PID_MAP,
         "0007 (0x0000400e): PIDIDX:0007, OPID:0x0020(0032), TSOIDX:000, NEXTPIDIDX:0008, ENABLED:YES, REMAP:YES\n"},
        {WRITE_O_PID_MAP, "", "", READ_O_PID_MAP,
         "4095 (0x00005ffe): PIDIDX:4095, OPID:0x1fff(8191), TSOIDX:000, NEXTPIDIDX:0000, ENABLED:YES, REMAP:NO\n"},
        {WRITE_PHYS_IN_MAP, "-p 0 -t 9", "-p 0 ", READ_PHYS_IN_MAP, "000 (0x00000080): PHYIIDX:00, TSIIDX:009\n"},
        {WRITE_PHYS_IN_MAP, "", "", READ_PHYS_IN_MAP, "063 (0x000000bf): PHYIIDX:63, TSIIDX:000\n"},
        {WRITE_PHYS_OUT_MAP, "-t 4", "-t 4 ", READ_PHYS_OUT_MAP,
         "004 (0x00000104): TSOIDX:004, PHYOIDX:031, ENABLED:YES\n"},
        {WRITE_IP_OUT_MAP, "-t 4 -i 239.129.2.3 -p 0 -r", "-t 4 -i x ", READ_IP_OUT_MAP,
         "004 (0x00000410): TSOIDX:004, MAC:01:00:5E:01:02:03, IP:239.129.2.3, PORT:00, RTP:YES, ENABLED:YES\n"},
        {WRITE_IP_OUT_MAP, "", "", READ_IP_OUT_MAP,
         "000 (0x00000400): TSOIDX:000, MAC:01:00:5E:40:00:2A, IP:239.192.0.42, PORT:65535, RTP:NO, ENABLED:YES\n"},
    };
    const std::vector<uint32_t> pid = m_Pid->words;
    const std::vector<uint32_t> io = m_Io->words;
    for (const Case& c : cases) {
        run(c.write, c.arguments);
        EXPECT_EQ(run(c.read, {"-a"}), c.line);
        run(c.write, std::string(c.key) + "-c");
        EXPECT_EQ(m_Pid->words, pid) << c.line;
        EXPECT_EQ(m_Io->words, io) << c.line;
    }
    run(WRITE_IP_OUT_MAP, "-t 4 -d");
    EXPECT_EQ(run(READ_IP_OUT_MAP, "-a"), "");
    EXPECT_THAT(run(READ_IP_OUT_MAP, "-o 4 -s"), HasSubstr("IP:239.192.0.42, PORT:65535, RTP:NO, ENABLED:NO"));

    run(WRITE_FILTER_TABLE, "-f 254 -n 255");
    EXPECT_EQ(m_Pid->words[512 + 254], 255U);
    run(WRITE_FILTER_TABLE, "-f 254 -n 9 -c");
    EXPECT_EQ(m_Pid->words[512 + 254], 0U);
    run(WRITE_FILTER_TABLE, "-f 254");
    EXPECT_EQ(m_Pid->words, pid);
}

TEST_F(TableCmdsTest, ClearingASortedTableTakesAnyNumberAndFindsWhatIsThere)
{
    for (const char* row : {"-t 0 -p 0 -O", "-t 3 -p 8190 -O", "-t 3 -p 1 -O", "-t 4 -p 0 -O"})
        run(WRITE_PID_LUT, row);
    for (const char* nothing : {"-t 256 -c", "-t 0x80003 -c", "-t 259 -p 1 -c", "-t 2 -p 8190 -P 0 -f 256 -c"})
        run(WRITE_PID_LUT, nothing);
    EXPECT_EQ(linesIn(pidLut()), 4);
    EXPECT_EQ(run(WRITE_PID_LUT, "-t 3 -p 1 -P 9999 -c"), "");
    EXPECT_EQ(run(WRITE_PID_LUT, "-t 3 -p 0xFFFFFFFF -c"), "Note: 1 row of TSI 3 removed\n");
    EXPECT_EQ(run(WRITE_PID_LUT, "-t 3 -c"), "Note: 0 rows of TSI 3 removed\n");
    EXPECT_EQ(linesIn(pidLut()), 2);

    run(WRITE_IP_LUT, "-t 0 -i 239.1.1.1");
    EXPECT_EQ(run(WRITE_IP_LUT, "-t 256 -i x -p 65536 -c"), "");
    EXPECT_EQ(linesIn(run(READ_IP_LUT, "-a")), 1);
    EXPECT_EQ(run(WRITE_IP_LUT, "-i x -c"), "");
    EXPECT_EQ(run(READ_IP_LUT, "-a"), "");
}

TEST_F(TableCmdsTest, ADefaultThatChangesARowInUseIsNoted)
{
    const auto note = [](const char* option, const char* now, const char* before) {
        return std::string("Note: --") + option + " was not given; " + now + " is written (before: " + before + ")\n";
    };
    const std::tuple<Command, const char*, const char*, std::string> cases[] = {
        {WRITE_PID_LUT, "-t 3 -p 1 -P 7 -O -f 255", "-t 3 -p 1 -C -f 255",
         note("pididx", "4095", "7") + note("route_output", "NO", "YES")},
        {WRITE_PID_LUT, "-t 3 -p 1 -P 7 -O -f 255", "-t 3 -p 1 -P 7 -O", note("filtidx", "0", "255")},
        {WRITE_PID_LUT, "-t 3 -p 1 -P 7 -O", "-t 3 -p 2 -O -P 8", ""},
        {WRITE_PID_LUT, "-t 3 -p 2 -O", "-t 3 -p 9 -P 7 -C",
         "Note: filter 0 passes no packets (--filtidx was not given)\n"},
        {WRITE_PID_LUT, "-t 3 -p 2 -O", "-t 3 -p 10 -P 7 -C -f 0", ""},
        {WRITE_IP_LUT, "-t 3 -i 239.1.1.1 -p 1234", "-t 3 -i 239.1.1.2", note("port", "65535", "1234")},
        {WRITE_IP_LUT, "-t 3 -i 239.1.1.1 -p 1234", "-t 3 -p 5", note("ip", "255.255.255.255", "239.1.1.1")},
        {WRITE_IP_LUT, "-t 3 -i 239.1.1.1 -p 1234", "-t 4 -p 5", ""},
        {WRITE_TSI_MAP, "-t 3 -P 7", "-t 3", note("pididx", "4095", "7")},
        {WRITE_O_PID_MAP, "-P 7 -t 2 -N 8 -p 0x20", "-P 7",
         note("tsoidx", "0", "2") + note("next_pididx", "0", "8") + note("opid", "none", "32")},
        {WRITE_O_PID_MAP, "-P 7 -t 2 -N 8", "-P 7 -t 2 -p 0x20", note("next_pididx", "0", "8")},
        {WRITE_FILTER_TABLE, "-f 3 -n 5", "-f 3", note("count_val", "0", "5")},
        {WRITE_PHYS_IN_MAP, "-p 3 -t 5", "-p 3", note("tsiidx", "0", "5")},
        {WRITE_PHYS_OUT_MAP, "-t 3 -p 5", "-t 3", note("phyoidx", "31", "5")},
        {WRITE_IP_OUT_MAP, "-t 3 -i 239.1.1.1 -p 5 -r", "-t 3 -d",
         note("ip", "239.192.0.42", "239.1.1.1") + note("port", "65535", "5") + note("rtp", "NO", "YES")},
        {WRITE_IP_OUT_MAP, "-t 3 -i 239.1.1.1 -p 5 -d", "-t 3", ""}, // not in use
    };
    for (const auto& [write, before, edit, notes] : cases) {
        run(write, before);
        EXPECT_EQ(run(write, edit), notes) << before << " / " << edit;
        EXPECT_EQ(run(write, edit), notes.starts_with("Note: filter") ? notes : "") << "the same again";
    }

    run(WRITE_FILTER_TABLE, "-f 0 -n 255");
    EXPECT_EQ(run(WRITE_PID_LUT, "-t 3 -p 11 -P 7 -C"), "");
    m_Pid->accesses = 0;
    run(WRITE_TSI_MAP, "-t 3 -P 9");
    EXPECT_EQ(m_Pid->accesses, 1U) << "nothing to compare, so the row is only written";
    run(WRITE_TSI_MAP, "-t 3");
    EXPECT_EQ(m_Pid->accesses, 3U);
}

TEST_F(TableCmdsTest, ValuesOutsideTheirRangeAreRefusedBeforeAnythingIsWritten)
{
    const std::tuple<Command, const char*, const char*> cases[] = {
        {WRITE_PID_LUT, "-t 256 -C", "invalid TSIIDX (256)"},
        {WRITE_PID_LUT, "-p 8192 -C", "invalid PID (8192)"},
        {WRITE_PID_LUT, "-P 0 -C", "invalid PIDIDX (0)"},
        {WRITE_PID_LUT, "-P 4096 -C", "invalid PIDIDX (4096)"},
        {WRITE_PID_LUT, "-f 256 -C", "invalid FiltTabIDX (256)"},
        {WRITE_IP_LUT, "-t 256", "IpInEntry created with invalid TSIidx (256)"},
        {WRITE_IP_LUT, "-i 239.1.1", "IpInEntry created with invalid IP address (239.1.1)"},
        {WRITE_IP_LUT, "-p 65536", "IpInEntry created with invalid UDP port (65536)"},
        {WRITE_TSI_MAP, "-t 256", "Cannot create TsiMapEntry - invalid TSIidx (256)"},
        {WRITE_TSI_MAP, "-P 4096", "Cannot set TSIidx - invalid TSIidx given (4096)"},
        {WRITE_O_PID_MAP, "-P 0", "Cannot create PidMapEntry - invalid PIDidx (0)"},
        {WRITE_O_PID_MAP, "-P 4096 -c", "Cannot create PidMapEntry - invalid PIDidx (4096)"},
        {WRITE_O_PID_MAP, "-P 7 -N 7", "Cannot set NEXT PIDIX - invalid NEXT_PIDidx value (7)"},
        {WRITE_O_PID_MAP, "-P 7 -N 4096", "Cannot set NEXT PIDIX - invalid NEXT_PIDidx value (4096)"},
        {WRITE_O_PID_MAP, "-P 7 -p 0xDEADBEEF", "invalid PID value (3735928559)"},
        {WRITE_O_PID_MAP, "-P 7 -t 256", "Cannot set TSOidx - invalid TSOidx (256)"},
        {WRITE_FILTER_TABLE, "-f 256", "invalid FILTTABIDX (256)"},
        {WRITE_FILTER_TABLE, "-n 256", "invalid Packet count value (256)"},
        {WRITE_PHYS_IN_MAP, "-p 64", "Cannot create PhysInEntry - invalid PHYIidx (64)"},
        {WRITE_PHYS_IN_MAP, "-t 256", "Cannot set TSIidx - invalid TSIidx (256)"},
        {WRITE_PHYS_OUT_MAP, "-t 256", "Cannot create PhysOutEntry - invalid TSOidx (256)"},
        {WRITE_PHYS_OUT_MAP, "-p 32", "Cannot create PhysOutEntry - invalid PHYOidx (32)"},
        {WRITE_IP_OUT_MAP, "-t 256", "TSOIdx out of range"},
        {WRITE_IP_OUT_MAP, "-p 65536", "UDPPort out of range"},
        {WRITE_IP_OUT_MAP, "-i 1.2.3", "Unable to parse string representation of IPv4 address: \"1.2.3\""},
        {WRITE_IP_OUT_MAP, "-i 10.0.0.1", "IP address must be in the multicast range"},
        {READ_PHYS_IN_MAP, "-o 60 -c 5", "Offset (60) and count (5) exceeds the size (64) of the ZEB PHYS"},
        {READ_O_PID_MAP, "-o 0", "Offset value 0 is not permitted in the ZEB O-PID MAP"},
    };
    for (const auto& [command, line, text] : cases)
        EXPECT_THAT(refusal(command, line), HasSubstr(text));
}

TEST_F(TableCmdsTest, ReadCommandsTakeTheFirstRowUnlessToldOtherwise)
{
    EXPECT_EQ(run(READ_PID_LUT, ""), "");
    EXPECT_THAT(run(READ_PID_LUT, "-s"), testing::StartsWith("000 (0x00002000): TSIIDX:255"));
    EXPECT_THAT(run(READ_O_PID_MAP, "-s"), testing::StartsWith("0001 (0x00004002): PIDIDX:0001"));
    EXPECT_THAT(run(READ_PID_LUT, "-s -i -o 1"), testing::StartsWith("001 (0x00003002): "));
    const std::pair<Command, int> tables[] = {{READ_PID_LUT, 2048},    {READ_O_PID_MAP, 4095}, {READ_PHYS_IN_MAP, 64},
                                              {READ_TSI_MAP, 256},     {READ_IP_LUT, 256},     {READ_IP_OUT_MAP, 256},
                                              {READ_PHYS_OUT_MAP, 256}};
    for (const auto& [command, rows] : tables) {
        EXPECT_EQ(run(command, "-a"), "");
        const std::string all = run(command, "-a -s -o 5 -c 3");
        EXPECT_EQ(linesIn(all), rows);
    }
}
