#include "zeb_fpga_shell/cli/spi_cmds.h"

#include <osl/testing/argument_vector.h>
#include <osl/testing/emulation.h>
#include <osl/testing/failure_of.h>
#include <osl/userspace_drivers/interfaces/spi/ispibus.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>

using namespace Osl::Utils;
using Osl::Spi::SPIError;
using Osl::Testing::ArgumentVector;
using Osl::Testing::failureOf;
using testing::HasSubstr;
using testing::StartsWith;
using Words = std::vector<std::string>;

namespace {

template <class Command>
std::string run(const std::string& name, Words words)
{
    words.insert(words.begin(), name);
    ArgumentVector arguments(std::move(words));
    std::ostringstream out;
    std::istringstream in;
    EXPECT_EQ(Command(name, "TBA", "TBA").run(arguments.argc(), arguments.argv(), out, in), 0);
    return out.str();
}

std::string run(const Words& words)
{
    const Words options(words.begin() + 1, words.end());
    return words.front() == "spiread" ? run<SpiReadCmd>("spiread", options) : run<SpiWriteCmd>("spiwrite", options);
}

/// What goes over the bus, without the line that tells mode and speed.
std::string bytes(Words words)
{
    words.insert(words.end(), {"-d", "/dev/spidev0.0", "--dry_run"});
    const std::string text = run(words);
    EXPECT_THAT(text, StartsWith("mode 0x0, 1000000 Hz\n"));
    return text.substr(text.find('\n') + 1);
}

/// The refusal of a command on a node that is not there: nothing can have been opened before it.
std::string refusal(Words words)
{
    words.insert(words.end(), {"-d", "/dev/nix"});
    return failureOf<SPIError>([&] { run(words); });
}

} // namespace

TEST(SpiCmdsTest, DryRunShowsTheBytesOfEverySlave)
{
    EXPECT_EQ(bytes({"spiread", "-s", "max5868", "-o", "5", "-c", "2"}),
              "send 0x85, receive 1 bytes\nsend 0x86, receive 1 bytes\n");
    EXPECT_EQ(bytes({"spiwrite", "-s", "max5868", "-o", "0x7f", "-v", "0x12", "-r"}),
              "send 0x7f 0x12\nsend 0xff, receive 1 bytes\n");
    EXPECT_EQ(bytes({"spiwrite", "-s", "max5868", "-w", "16", "-o", "1", "-v", "0x1234"}),
              "send 0x02 0x34\nsend 0x03 0x12\n");
    EXPECT_EQ(bytes({"spiread", "-s", "fpga", "-o", "0x102"}), "send 0x03 0x01 0x02, receive 4 bytes\n");
    EXPECT_EQ(bytes({"spiwrite", "-s", "fpga", "-o", "1", "-v", "0x01020304"}),
              "send 0x02 0x00 0x01 0x01 0x02 0x03 0x04\n");
    EXPECT_EQ(bytes({"spiread", "-s", "raw", "-c", "3"}), "receive 3 bytes\n");
    EXPECT_EQ(bytes({"spiwrite", "-s", "raw", "-v", "1,2", "-v", "3", "-r"}), "send 0x01 0x02 0x03, receive 3 bytes\n");
    EXPECT_EQ(bytes({"spiwrite", "-s", "max2871", "-o", "1", "-v", "0x2000FFF9,0x4042"}),
              "send 0x00 0x00 0x40 0x42\nsend 0x20 0x00 0xff 0xf9\n");
}

TEST(SpiCmdsTest, FramingOptionsShapeTheFrames)
{
    EXPECT_EQ(bytes({"spiread", "-s", "fpga", "--addr_bits", "32", "--data_bits", "16", "--dummy_bytes", "2",
                     "--read_code", "0xa0", "-o", "0x01020304"}),
              "send 0xa0 0x01 0x02 0x03 0x04 0x00 0x00, receive 2 bytes\n");
    EXPECT_EQ(bytes({"spiwrite", "-s", "max5868", "--addr_bits", "15", "--read_code", "0", "--write_code", "1", "-o",
                     "2", "-v", "3"}),
              "send 0x80 0x02 0x03\n");
    EXPECT_EQ(bytes({"spiwrite", "-s", "fpga", "--burst", "--byte_order", "little", "-v", "0x01020304,5"}),
              "send 0x02 0x00 0x00 0x04 0x03 0x02 0x01 0x05 0x00 0x00 0x00\n");
    EXPECT_EQ(bytes({"spiwrite", "-s", "max5868", "-w", "16", "--multi_byte", "big", "-v", "0x0102"}),
              "send 0x00 0x01\nsend 0x01 0x02\n");
}

TEST(SpiCmdsTest, SynthesiserSpecials)
{
    EXPECT_EQ(bytes({"spiwrite", "-s", "max2871", "-o", "4", "-v", "0x6180B23C", "--field", "DIVA=3,APWR=0",
                     "--rewrite_r0", "0x007D0000"}),
              "send 0x61 0xb0 0xb2 0x24\nsend 0x00 0x7d 0x00 0x00\n");
    EXPECT_THAT(bytes({"spiwrite", "-s", "max2871", "-v", "0,1,2,3,4,5", "--startup"}),
                StartsWith("send 0x00 0x00 0x00 0x05\nwait 20 ms\nsend 0x00 0x00 0x00 0x04\n"));
    EXPECT_EQ(bytes({"spiread", "-s", "max2871", "-o", "6", "--r6_readback", "no_cs", "--r6_mode", "1"}),
              "mode 0x41\nmode 0x0\nsend 0x00 0x00 0x00 0x06\nmode 0x41\n"
              "send 0x00 0x00 0x00 0x00 0x06, receive 5 bytes\nmode 0x0\n");
}

TEST(SpiCmdsTest, WhatNamesNoSlaveOrDeviceIsRefused)
{
    EXPECT_THAT(failureOf<SPIError>([] {
                    run({"spiread", "-d", "/dev/nix"});
                }),
                StartsWith("SPI Error: the option \"slave\" is missing. See help.("));
    EXPECT_THAT(failureOf<SPIError>([] {
                    run({"spiwrite", "-s", "raw", "-v", "1"});
                }),
                HasSubstr("\"device\" is missing"));
    EXPECT_THAT(refusal({"spiread", "-s", "max2870"}),
                HasSubstr("\"slave\": \"max2870\" is not one of fpga, max2871, max5868, raw"));
}

TEST(SpiCmdsTest, ErrorsNameDeviceOperationOffsetAndWidth)
{
    OSL_SKIP_UNDER_QEMU("does not know the requests of spidev");
    EXPECT_THAT(
        refusal({"spiread", "-s", "max5868", "-w", "16", "-o", "3"}),
        StartsWith("SPI Error: /dev/nix: max5868: read of 16 bits at offset 3: open failed. Errno: (2 - No such "
                   "file or directory)("));
    EXPECT_THAT(
        failureOf<SPIError>([] {
            run({"spiwrite", "-s", "fpga", "-d", "/dev/null", "-v", "1"});
        }),
        StartsWith("SPI Error: /dev/null: fpga: write of 32 bits at offset 0: not a spidev node. Errno: (25 - "));
    EXPECT_THAT(
        refusal({"spiread", "-s", "fpga", "-w", "24", "-o", "9"}),
        StartsWith("SPI Error: /dev/nix: fpga: access of 24 bits at offset 9 refused: the width must be 8, 16 or "
                   "32("));
    EXPECT_THAT(refusal({"spiwrite", "-s", "max5868", "-o", "4", "-v", "1,256"}),
                HasSubstr("/dev/nix: max5868: write of 8 bits at offset 4 refused: 256 (0x100) is not a 8 bit value"));
}

TEST(SpiCmdsTest, OptionsThatDoNotFitAreRefused)
{
    const struct
    {
        Words words;
        const char* text;
    } cases[] = {
        {{"spiread", "-s", "fpga", "--speed", "0"}, "speed: must be above 0 Hz"},
        {{"spiread", "-s", "max2871", "--speed", "20000001"}, "speed: 20000001 Hz is above the 20000000 Hz"},
        {{"spiread", "-s", "max2871", "--mode", "3"}, "mode: the part works in mode 0 only"},
        {{"spiread", "-s", "raw", "--mode", "0x100"}, "mode: 0x100 has bits other than 0xff"},
        {{"spiread", "-s", "max2871", "--addr_bits", "8"}, "\"addr_bits\" does not apply to this slave"},
        {{"spiread", "-s", "fpga", "--r6_mode", "0"}, "\"r6_mode\" does not apply to this slave"},
        {{"spiwrite", "-s", "max5868", "-v", "1", "--startup"}, "\"startup\" does not apply to this slave"},
        {{"spiread", "-s", "fpga", "--byte_order", "Big"}, "\"byte_order\": \"Big\" is not one of big, little"},
        {{"spiread", "-s", "max2871", "--r6_readback", "yes"}, "\"yes\" is not one of none, no_cs, cs_low"},
        {{"spiread", "-s", "max2871", "--r6_mode", "2"}, "r6_mode: 2 is not in 0..1"},
        {{"spiread", "-s", "max2871", "--mux_r2", "2"}, "mux_r2 and mux_r5 belong together"},
        {{"spiwrite", "-s", "max2871"}, "the option \"data\" is missing"},
        {{"spiwrite", "-s", "max2871", "-v", "0", "--field", "N"}, "the field \"N\" is not NAME=VALUE"},
        {{"spiwrite", "-s", "max2871", "-v", "0", "--field", "=1"}, "register 0 has no field ; it has INT, N, FRAC"},
        {{"spiwrite", "-s", "max2871", "-v", "0", "--field", "N=65536"}, "65536 is not in 0..65535"},
        {{"spiwrite", "-s", "max2871", "-v", "0,1", "--field", "N=1"}, "fields go into one word of data"},
        {{"spiwrite", "-s", "max2871", "-v", "0,1,2,3,4,5", "--startup", "--rewrite_r0", "0", "--dry_run"},
         "\"rewrite_r0\" has no place there"},
        {{"spiwrite", "-s", "max2871", "-o", "1", "-v", "1", "--startup", "--dry_run"}, "from offset 0 on"},
        {{"spiwrite", "-s", "max2871", "-o", "1", "-v", "1", "--rewrite_r0", "0", "-r", "--dry_run"},
         "cannot be read back"},
        {{"spiwrite", "-s", "max2871", "-o", "1", "-v", "1", "-r", "--dry_run"}, "register 1 is write-only"},
        {{"spiwrite", "-s", "raw", "-o", "1", "-v", "1", "--dry_run"}, "no addresses, only offset 0"},
        {{"spiread", "-s", "raw", "-w", "16", "--dry_run"}, "raw transfers are in bytes"},
        {{"spiread", "-s", "raw", "-c", "0xffffffff", "--dry_run"}, "4294967295 bytes do not fit one message"},
    };
    for (const auto& [words, text] : cases)
        EXPECT_THAT(refusal(words), HasSubstr(text));
}
