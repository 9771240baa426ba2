#include "zeb_fpga_shell/fpga_cmd_module.h"

#include <osl/testing/failure_of.h>
#include <osl/testing/temp_file.h>

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>

using namespace Osl;
using namespace Osl::Utils;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

const std::string PIDLUT_BYTES(64, '\0');
const std::string IPLUT_BYTES(32, '\0');

class FpgaCmdModuleTest : public testing::Test
{
protected:
    /// What the module answers to a typed line.
    std::string type(const std::string& line)
    {
        std::istringstream in;
        std::ostringstream out;
        EXPECT_EQ(m_Module.execute(ParsedShellCmd(line), in, out), 1) << line;
        EXPECT_THAT(out.str(), StartsWith("\n"));
        return out.str().substr(1);
    }

    template <class Kind>
    std::string failure(const std::string& line)
    {
        return Testing::failureOf<Kind>([this, &line] { type(line); });
    }

    void openBoth()
    {
        type("open pidlut");
        type("open iplut");
    }

    Testing::TempFile m_Pidlut{PIDLUT_BYTES.size()};
    Testing::TempFile m_Iplut{IPLUT_BYTES.size()};
    FpgaCmdModule m_Module{{{"pidlut", {m_Pidlut.path().c_str(), 64}}, {"iplut", {m_Iplut.path().c_str(), 32}}}};
};

} // namespace

TEST_F(FpgaCmdModuleTest, ReadsBackWhatItWroteInEveryWidth)
{
    EXPECT_EQ(type("open pidlut"), "Opened pidlut (" + m_Pidlut.path() + "), 64 bytes mapped\n");
    EXPECT_EQ(type("write pidlut 0x3 8bit 0xab"), "Wrote 0xab to pidlut at 8 bit word offset 0x00000003\n");
    EXPECT_EQ(type("write pidlut 4 16bit 0xffff"), "Wrote 0xffff to pidlut at 16 bit word offset 0x00000004\n");
    EXPECT_EQ(type("write pidlut 15 32bit 4294967295"),
              "Wrote 0xffffffff to pidlut at 32 bit word offset 0x0000000f\n");

    std::string expected = PIDLUT_BYTES;
    expected[3] = '\xAB';
    expected[8] = expected[9] = '\xFF';
    expected.replace(60, 4, 4, '\xFF');
    EXPECT_EQ(m_Pidlut.content(), expected);

    EXPECT_EQ(type("read pidlut 3 1 8bit"), "0x00000003:  0xab \n");
    EXPECT_EQ(type("read pidlut 3 2 16bit"), "0x00000003:  0x0000 0xffff \n");
    EXPECT_EQ(type("read pidlut 0xe 0x2 32bit"), "0x0000000e:  0x00000000 0xffffffff \n");
    EXPECT_EQ(type("read pidlut 0xe 2 "), "0x0000000e:  0x00000000 0xffffffff \n");
    EXPECT_EQ(type("close pidlut"), "Closed pidlut\n");
}

TEST_F(FpgaCmdModuleTest, AnUnknownWidthBecomes32Bit)
{
    openBoth();
    EXPECT_EQ(type("write iplut 1 16 0x10000"), "Invalid access data witdh: 16. Width defaults to 32bit\n"
                                                "Wrote 0x00010000 to iplut at 32 bit word offset 0x00000001\n");
}

TEST_F(FpgaCmdModuleTest, SaysWhyItRefusesAndShowsTheUsage)
{
    const auto notANumber = [](const char* what, const char* text) {
        return fmt::format("Invalid {}: \"{}\" is no decimal or \"0x\" hexadecimal number of up to 32 bits", what,
                           text);
    };
    using Case = std::pair<std::string, std::string>;
    openBoth();
    for (const auto& [line, reason] : std::vector<Case>{
             {"open", "Missing argument: 0 given, 1 needed"},
             {"open pidlut 64 xx", "Too many arguments: 3 given, 2 allowed"},
             {"open scm", "Invalid dev designation: scm"},
             {"open pidlut 64k", notANumber("size", "64k")},
             {"open pidlut 0 ", "Invalid size: a mapping has at least one byte"},
             {"close /dev/pidlut", "Invalid dev designation: /dev/pidlut"},
             {"read pidlut 0 ", "Missing argument: 2 given, 3 needed"},
             {"read pidlut -1 1 ", notANumber("offset", "-1")},
             {"read pidlut 0 \"\"", notANumber("word count", "")},
             {"write pidlut 0 8bit 256", "write cannot write data. 256 (0x100) is not a 8 bit value"},
             {"write pidlut 0 16bit 0x10000", "write cannot write data. 65536 (0x10000) is not a 16 bit value"},
             {"write pidlut 0 32bit 1z", notANumber("data", "1z")},
             {"readall 8bit", "Invalid width: \"8bit\" is none of 8, 16 and 32"},
             {"writeall 32 xx", notANumber("word count", "xx")},
         })
        EXPECT_EQ(type(line), reason + "\n" + type(line.substr(0, line.find(' ')) + " help ")) << line;
    EXPECT_EQ(type("close help "), "close <pidlut | iplut>\n");
    EXPECT_EQ(type("read help "), "read <dev> <offset> <word count> <width>. Offset can be prefixed with \"0x\" for "
                                  "hexadecimal\n");
    EXPECT_EQ(m_Pidlut.content(), PIDLUT_BYTES);
    EXPECT_EQ(type("read pidlut 15 1 "), "0x0000000f:  0x00000000 \n"); // still open
}

TEST_F(FpgaCmdModuleTest, SaysThatADeviceIsNotOpen)
{
    for (const std::string line : {"close iplut", "read iplut 0 1 ", "write iplut 0 8bit 1 "})
        EXPECT_EQ(type(line), "Device iplut is not open; type: open iplut\n");
    for (const std::string line : {"readall 32", "writeall 32 1 "})
        EXPECT_EQ(type(line), "No device is open\n");
}

TEST_F(FpgaCmdModuleTest, DeviceErrorsPassAndChangeNothing)
{
    openBoth();
    EXPECT_THAT(failure<Drivers::DevMemError>("read iplut 8 1 "),
                HasSubstr("Byte offset 32 and byte size 4 crosses memory segment boundary"));
    EXPECT_THAT(failure<Drivers::DevMemError>("write pidlut 64 8bit 1 "), HasSubstr("boundary"));
    EXPECT_EQ(m_Pidlut.content(), PIDLUT_BYTES);

    // Opening again closes first, so a device that cannot be opened again is closed.
    EXPECT_EQ(type("open iplut 16"), "Opened iplut (" + m_Iplut.path() + "), 16 bytes mapped\n");
    EXPECT_THAT(failure<Drivers::DevMemError>("read iplut 4 1 "), HasSubstr("boundary"));
    EXPECT_THAT(failure<Pci::PciError>("open iplut 33"), HasSubstr("Failed mmap of 33 bytes"));
    EXPECT_THAT(type("close iplut"), HasSubstr("not open"));
}

TEST_F(FpgaCmdModuleTest, WriteAllFillsEveryOpenDeviceAndReadAllShowsThem)
{
    openBoth();
    EXPECT_EQ(type("writeall 16 2 "), "Wrote 2 words of 16 bits to pidlut\nWrote 2 words of 16 bits to iplut\n");
    EXPECT_EQ(m_Iplut.content(), "\xAA\xAA\xAB\xAA" + IPLUT_BYTES.substr(4));
    type("close pidlut");
    EXPECT_EQ(type("writeall 32 8 "), "Wrote 8 words of 32 bits to iplut\n");
    EXPECT_EQ(type("readall 32"), "iplut (" + m_Iplut.path() +
                                      "):\n"
                                      "0x00000000:  0xaaaaaaaa 0xaaaaaaab 0xaaaaaaac 0xaaaaaaad \n"
                                      "0x00000004:  0xaaaaaaae 0xaaaaaaaf 0xaaaaaab0 0xaaaaaab1 \n\n");
    type("open pidlut");
    const std::string all = type("readall 16");
    EXPECT_THAT(all, StartsWith("pidlut (" + m_Pidlut.path() + "):\n0x00000000:  0xaaaa 0xaaab "));
    EXPECT_THAT(all, HasSubstr("\n\niplut (" + m_Iplut.path() + "):\n0x00000000:  0xaaaa 0xaaaa "));
}

TEST_F(FpgaCmdModuleTest, WriteAllThatDoesNotFitEveryDeviceWritesNone)
{
    openBoth();
    EXPECT_EQ(type("writeall 32 9 "), "Invalid word count: iplut has 8 words of 32 bits, not 9; nothing was written\n"
                                      "writeall <8|16|32> <WORD COUNT>\n");
    EXPECT_THAT(type("writeall 8 0xffffffff"), HasSubstr("pidlut has 64 words of 8 bits, not 4294967295"));
    EXPECT_EQ(m_Pidlut.content(), PIDLUT_BYTES);
    EXPECT_EQ(m_Iplut.content(), IPLUT_BYTES);
}
