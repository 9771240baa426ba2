#include "zeb_fpga_shell/cli/zeb_fpga_memcmds.h"
#include "zeb_fpga_shell/shell_error.h"

#include <osl/testing/argument_vector.h>
#include <osl/testing/failure_of.h>
#include <osl/testing/temp_file.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>

using namespace Osl::Utils;
using Osl::Testing::ArgumentVector;
using Osl::Testing::failureOf;
using Osl::Testing::TempFile;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

/// Runs memory commands on a regular file of 64 bytes that stands for the device.
class MemCmdsTest : public testing::Test
{
protected:
    template <class Command>
    std::string run(const std::string& name, std::vector<std::string> words)
    {
        words.insert(words.begin(), {name, "-d", m_Device.path(), "-m", "64"});
        ArgumentVector arguments(std::move(words));
        std::ostringstream out;
        std::istringstream in;
        Command command(name, "TBA", "Accesses memory.");
        EXPECT_EQ(command.run(arguments.argc(), arguments.argv(), out, in), 0);
        return out.str();
    }

    template <class Command>
    std::string refusal(const std::string& name, const std::vector<std::string>& words)
    {
        return failureOf<ShellError>([&] { run<Command>(name, words); });
    }

    TempFile m_Device{64};
};

} // namespace

TEST_F(MemCmdsTest, WriteThenReadEachWidth)
{
    EXPECT_EQ(run<ZEBFpgaCli_write32>("write32", {"-o", "3", "-v", "0x12345678", "-r"}), "0x00000003:  0x12345678 \n");
    EXPECT_EQ(run<ZEBFpgaCli_write16>("write16", {"-o", "6", "-v", "0xffff"}), "");
    EXPECT_EQ(run<ZEBFpgaCli_write8>("write8", {"-o", "15", "-v", "255", "-r"}), "0x0000000f:  0xff \n");
    EXPECT_EQ(run<ZEBFpgaCli_read32>("read32", {"-o", "2", "-c", "2"}), "0x00000002:  0x00000000 0xff34ffff \n");
    EXPECT_EQ(run<ZEBFpgaCli_read16>("read16", {"-c", "8"}),
              "0x00000000:  0x0000 0x0000 0x0000 0x0000 0x0000 0x0000 0xffff 0xff34 \n\n");
    EXPECT_EQ(run<ZEBFpgaCli_read8>("read8", {}), "0x00000000:  0x00 \n");
    EXPECT_EQ(run<ZEBFpgaCli_read8>("read8", {"-o", "64", "-c", "0"}), "\n");
}

TEST_F(MemCmdsTest, DataWiderThanTheWordIsRefusedAndNothingWritten)
{
    EXPECT_THAT(refusal<ZEBFpgaCli_write16>("write16", {"-v", "0x10000"}),
                HasSubstr("write16 cannot write data. 65536 (0x10000) is not a 16 bit value"));
    EXPECT_THAT(refusal<ZEBFpgaCli_write8>("write8", {"-v", "256"}),
                HasSubstr("write8 cannot write data. 256 (0x100) is not a 8 bit value"));
    EXPECT_EQ(m_Device.content(), std::string(64, '\0'));
}

TEST_F(MemCmdsTest, AccessErrorsCarryTheCommandsName)
{
    EXPECT_THAT(refusal<ZEBFpgaCli_read32>("read32", {"-o", "15", "-c", "2"}),
                StartsWith("Shell Error: read32 command encountered an unexpected error: Device memory Error: Cannot "
                           "access device memory. Byte offset 60 and byte size 8 crosses memory segment boundary("));
    EXPECT_THAT(refusal<ZEBFpgaCli_read8>("read8", {"-m", "0"}),
                HasSubstr("read8 command encountered an unexpected error: PCI Error: Cannot access device memory. "
                          "Device " +
                          m_Device.path() + " has no memory mapped into user space."));
    EXPECT_THAT(refusal<ZEBFpgaCli_write16>("write16", {"-d", "/nowhere"}),
                StartsWith("Shell Error: Cannot open device /nowhere. Driver interface returned: \"PCI Error: Could "
                           "not open device at path: /nowhere. Error: \"No such file or directory\"("));
    EXPECT_THAT(refusal<ZEBFpgaCli_read32>("read32", {"-d", "Router"}), HasSubstr("Cannot open device Router."));
}
