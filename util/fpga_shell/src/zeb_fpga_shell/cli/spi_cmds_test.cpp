#include "zeb_fpga_shell/cli/spi_cmds.h"

#include <osl/cpputils/stringutils.h>
#include <osl/testing/argument_vector.h>
#include <osl/testing/emulation.h>
#include <osl/testing/test.h>
#include <osl/userspace_drivers/interfaces/spi/ispibus.h>

#include <sstream>

using namespace Osl::Utils;
using Osl::Spi::SPIError;
using Case = std::pair<const char*, const char*>;

namespace {

/// Output of a command line.
std::string run(const std::string& line)
{
    ArgumentVector arguments(Osl::CppUtil::split(line, ' '));
    std::ostringstream out;
    std::istringstream in;
    SpiReadCmd reads("spiread", "TBA", "TBA");
    SpiWriteCmd writes("spiwrite", "TBA", "TBA");
    CliCmd& command = line.starts_with("spiread") ? static_cast<CliCmd&>(reads) : writes;
    EXPECT_EQ(command.run(arguments.argc(), arguments.argv(), out, in), 0) << line;
    return out.str();
}

std::string refusal(const std::string& line)
{
    return failureOf<SPIError>([&] { run(line); });
}

} // namespace

TEST(SpiCmdsTest, DryRunShowsTheBytesThatWouldGoOut)
{
    for (const auto& [line, bytes] : {
             Case{"spiread -s max5868 -o 5 -c 2", "send 0x85, receive 1 bytes\nsend 0x86, receive 1 bytes\n"},
             {"spiwrite -s max5868 -o 0x7f -v 0x12 -r", "send 0x7f 0x12\nsend 0xff, receive 1 bytes\n"},
             {"spiwrite -s max5868 -w 16 -o 1 -v 0x1234", "send 0x02 0x34\nsend 0x03 0x12\n"},
             {"spiwrite -s max5868 -w 16 --multi_byte big -v 0x0102", "send 0x00 0x01\nsend 0x01 0x02\n"},
             {"spiwrite -s max5868 --addr_bits 15 --read_code 0 --write_code 1 -o 2 -v 3", "send 0x80 0x02 0x03\n"},
             {"spiread -s fpga -o 0x102", "send 0x03 0x01 0x02, receive 4 bytes\n"},
             {"spiread -s fpga --addr_bits 32 --data_bits 16 --dummy_bytes 2 --read_code 0xa0 -o 0x01020304",
              "send 0xa0 0x01 0x02 0x03 0x04 0x00 0x00, receive 2 bytes\n"},
             {"spiwrite -s fpga -o 1 -v 0x01020304", "send 0x02 0x00 0x01 0x01 0x02 0x03 0x04\n"},
             {"spiwrite -s fpga --burst --byte_order little -v 0x01020304,5",
              "send 0x02 0x00 0x00 0x04 0x03 0x02 0x01 0x05 0x00 0x00 0x00\n"},
             {"spiread -s raw -c 3", "receive 3 bytes\n"},
             {"spiwrite -s raw -v 1,2 -v 3 -r", "send 0x01 0x02 0x03, receive 3 bytes\n"},
             {"spiwrite -s max2871 -o 1 -v 0x2000FFF9,0x4042", "send 0x00 0x00 0x40 0x42\nsend 0x20 0x00 0xff 0xf9\n"},
             {"spiwrite -s max2871 -o 4 -v 0x6180B23C --field DIVA=3,APWR=0 --rewrite_r0 0x007D0000",
              "send 0x61 0xb0 0xb2 0x24\nsend 0x00 0x7d 0x00 0x00\n"},
             {"spiread -s max2871 -o 6 --r6_readback no_cs --r6_mode 1",
              "mode 0x41\nmode 0x0\nsend 0x00 0x00 0x00 0x06\nmode 0x41\n"
              "send 0x00 0x00 0x00 0x00 0x06, receive 5 bytes\nmode 0x0\n"},
         })
        EXPECT_EQ(run(std::string(line) + " -d /dev/nix --dry_run"), std::string("mode 0x0, 1000000 Hz\n") + bytes);

    // The start-up of the synthesiser: register 5, all others and all again, with a wait behind each of the first two.
    std::string startUp = "mode 0x0, 1000000 Hz\n";
    for (const char* step = "5w43210w543210"; *step != '\0'; ++step)
        startUp += *step == 'w' ? "wait 20 ms\n" : std::string("send 0x00 0x00 0x00 0x0") + *step + "\n";
    EXPECT_EQ(run("spiwrite -s max2871 -v 0,1,2,3,4,5 --startup -d /dev/nix --dry_run"), startUp);
}

TEST(SpiCmdsTest, ErrorsNameDeviceOperationOffsetAndWidth)
{
    OSL_SKIP_UNDER_QEMU("does not know the requests of spidev");
    EXPECT_THAT(refusal("spiread -d /dev/nix"), StartsWith("SPI Error: the option \"slave\" is missing. See help.("));
    EXPECT_THAT(refusal("spiwrite -s raw -v 1"), HasSubstr("\"device\" is missing"));
    EXPECT_THAT(refusal("spiread -s max5868 -w 16 -o 3 -d /dev/nix"),
                StartsWith("SPI Error: /dev/nix: max5868: read of 16 bits at offset 3: open failed. Errno: (2 - "));
    EXPECT_THAT(refusal("spiread -s fpga -w 24 -o 9 -d /dev/nix"),
                StartsWith("SPI Error: /dev/nix: fpga: access of 24 bits at offset 9 refused: the width must be 8, "
                           "16 or 32("));
    EXPECT_THAT(refusal("spiwrite -s max5868 -o 4 -v 1,256 -d /dev/nix"),
                StartsWith("SPI Error: /dev/nix: max5868: write of 8 bits at offset 4 refused: 256 (0x100) is not a 8 "
                           "bit value("));
}

TEST(SpiCmdsTest, WhatDoesNotFitIsRefused)
{
    for (const auto& [line, text] : {
             Case{"spiread -s max2870", "\"slave\": \"max2870\" is not one of fpga, max2871, max5868, raw"},
             {"spiread -s fpga --speed 0", "speed: must be above 0 Hz"},
             {"spiread -s max2871 --speed 20000001", "speed: 20000001 Hz is above the 20000000 Hz"},
             {"spiread -s max2871 --mode 3", "mode: the part works in mode 0 only"},
             {"spiread -s raw --mode 0x100", "mode: 0x100 has bits other than 0xff"},
             {"spiread -s max2871 --addr_bits 8", "\"addr_bits\" does not apply to this slave"},
             {"spiread -s fpga --r6_mode 0", "\"r6_mode\" does not apply to this slave"},
             {"spiwrite -s max5868 -v 1 --startup", "\"startup\" does not apply to this slave"},
             // framings
             {"spiread -s fpga --byte_order Big", "\"byte_order\": \"Big\" is not one of big, little"},
             {"spiread -s max5868 --addr_bits 8", "8 address bits after a code of 1 bits"},
             {"spiread -s max5868 --addr_bits 39", "at most 32"},
             {"spiread -s max5868 --addr_bits 0xFFFFFFFF", "at most 32"},
             {"spiread -s max5868 --data_bits 24 -w 8", "registers of 24 bits: expected 8, 16 or 32"},
             {"spiread -s max5868 --dummy_bytes 17", "17 dummy bytes are not in 0..16"},
             {"spiread -s max5868 --read_code 2", "must differ and fit 1 bits"},
             {"spiread -s max5868 --read_code 0", "must differ"},
             {"spiread -s fpga -w 8", "read of 8 bits at offset 0 refused: a register has 32 bits"},
             {"spiwrite -s fpga -w 16 -o 4 -v 1", "write of 16 bits at offset 4 refused"},
             {"spiread -s max5868 -w 16 --multi_byte refuse", "only accesses of 8 bits are allowed"},
             {"spiread -s fpga -o 0xffff -c 2", "2 words from there on pass the end of the 65536 registers"},
             {"spiread -s max5868 -w 32 -o 0x40000000", "pass the end"},
             {"spiread -s max5868 -c 0xFFFFFFFF", "pass the end"},
             // the synthesiser
             {"spiread -s max2871 --r6_readback yes", "\"yes\" is not one of none, no_cs, cs_low"},
             {"spiread -s max2871 --r6_mode 2", "r6_mode: 2 is not in 0..1"},
             {"spiread -s max2871 --mux_r2 2", "mux_r2 and mux_r5 belong together"},
             {"spiread -s max2871 -o 6 --mux_r2 5 --mux_r5 2", "addresses register 5, not 2"},
             {"spiread -s max2871 -o 6", "can disturb a running part"},
             {"spiread -s max2871 -o 6 --r6_readback cs_low --r6_mode 1", "only the rising edge (mode 0) is safe"},
             {"spiread -s max2871 -o 5 --r6_readback cs_low", "register 5 is write-only"},
             {"spiread -s max2871 -o 6 -c 2 --r6_readback cs_low", "no register above 6"},
             {"spiread -s max2871 -o 7 --r6_readback cs_low", "no register above 6"},
             {"spiread -s max2871 -w 8 -o 6 --r6_readback cs_low", "read of 8 bits at offset 6 refused"},
             {"spiwrite -s max2871", "the option \"data\" is missing"},
             {"spiwrite -s max2871 -o 6 -v 6", "write of 32 bits at offset 6 refused: register 6 is read-only"},
             {"spiwrite -s max2871 -o 5 -v 5,6", "register 6 is read-only"},
             {"spiwrite -s max2871 -o 7 -v 7", "only registers 0 to 5 can be"},
             {"spiwrite -s max2871 -o 0xFFFFFFFF -v 7", "only registers 0 to 5 can be"},
             {"spiwrite -s max2871 -v 0,1,2,4", "offset 3 refused: the word 0x00000004 addresses register 4, not 3"},
             {"spiwrite -s max2871 -w 16 -o 1 -v 1", "write of 16 bits at offset 1 refused: a "},
             {"spiwrite -s max2871 -o 4 -v 4 --rewrite_r0 9", "the word 0x00000009 addresses register 1, not 0"},
             {"spiwrite -s max2871 -v 0 --field N", "the field \"N\" is not NAME=VALUE"},
             {"spiwrite -s max2871 -v 0 --field =1", "register 0 has no field ; it has INT, N, FRAC"},
             {"spiwrite -s max2871 -o 7 -v 7 --field M=1", "register 7 has no field M; it has none"},
             {"spiwrite -s max2871 -v 0 --field N=65536",
              "65536 is not in 0..65535, which field N of register 0 holds"},
             {"spiwrite -s max2871 -v 0,1 --field N=1", "fields go into one word of data"},
             {"spiwrite -s max2871 -v 0,1,2 --startup", "takes the 6 words"},
             {"spiwrite -s max2871 -v 0,1,2,3,4,6 --startup", "addresses register 6"},
             {"spiwrite -s max2871 -v 0,1,2,3,4,5 --startup --rewrite_r0 0", "\"rewrite_r0\" has no place there"},
             {"spiwrite -s max2871 -o 1 -v 1 --startup", "from offset 0 on"},
             {"spiwrite -s max2871 -o 1 -v 1 --rewrite_r0 0 -r", "cannot be read back"},
             {"spiwrite -s max2871 -o 1 -v 1 -r", "register 1 is write-only"},
             // raw
             {"spiwrite -s raw -o 1 -v 1", "no addresses, only offset 0"},
             {"spiread -s raw -w 16", "raw transfers are in bytes"},
             {"spiread -s raw -c 0xffffffff", "4294967295 bytes do not fit one message"},
         })
        EXPECT_THAT(refusal(std::string(line) + " -d /dev/nix --dry_run"), HasSubstr(text)) << line;
}
