#include "zeb_fpga_shell/interactive_mode.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>

using Osl::Utils::runInteractive;
using testing::HasSubstr;
using testing::StartsWith;

TEST(InteractiveModeTest, OffersTheFpgaCommandsUntilTheUserLeaves)
{
    std::istringstream in("list\nexit\n");
    std::ostringstream out;
    std::ostringstream err;
    EXPECT_EQ(runInteractive(in, out, err), 0);
    for (const char* const command : {"open", "close", "read", "write", "readall", "writeall"})
        EXPECT_THAT(out.str(), HasSubstr(std::string("\n") + command + " (ZEB FPGA command module) ---"));
    EXPECT_EQ(err.str(), "");
}

TEST(InteractiveModeTest, ReportsWhatEndsTheShell)
{
    const std::string head = "Shell application failed with unexpected exception:\nShell Error: ";
    std::istringstream in("exi");
    std::ostringstream out;
    std::ostringstream err;
    EXPECT_EQ(runInteractive(in, out, err), -1);
    EXPECT_THAT(err.str(), StartsWith(head + "The input ended inside the line \"exi\", which was not executed.("));

    std::istringstream leaving("exit\n");
    std::ostringstream full;
    full.setstate(std::ios::badbit);
    err.str("");
    EXPECT_EQ(runInteractive(leaving, full, err), -1);
    EXPECT_THAT(err.str(), StartsWith(head + "The output could not be written.("));
}
