#include "zeb_fpga_shell/program.h"

#include <gtest/gtest.h>

#include <vector>

TEST(ProgramTest, InteractiveModeIsAskedForByAWholeWordAnywhere)
{
    const auto interactive = [](const std::vector<const char*>& words) {
        return Osl::Utils::wantsInteractiveMode(static_cast<int>(words.size()), words.data());
    };
    EXPECT_TRUE(interactive({"zeb", "-I"}));
    EXPECT_TRUE(interactive({"zeb", "read8", "-d", "--interactive"}));
    EXPECT_TRUE(interactive({"-I"}));
    for (const char* word : {"--interactive=1", "-i", "-Ix", "--INTERACTIVE", "I", ""})
        EXPECT_FALSE(interactive({"zeb", word})) << word;
    EXPECT_FALSE(interactive({}));
}
