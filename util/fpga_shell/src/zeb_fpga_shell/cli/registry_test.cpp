#include "zeb_fpga_shell/cli/registry.h"

#include <osl/cpputils/stringutils.h>

#include <gtest/gtest.h>

#include <sstream>

using namespace Osl::Utils;

TEST(RegistryTest, ListsFortySevenCommandsEachWithADescription)
{
    CliModule module;
    registerCommands(module, nullptr);
    std::ostringstream text;
    module.list(text);
    std::size_t commands = 0;
    std::istringstream lines(text.str());
    for (std::string name, description; std::getline(lines, name);) {
        ++commands;
        EXPECT_EQ(name, Osl::CppUtil::toLower(name));
        while (std::getline(lines, description) && !description.empty())
            EXPECT_GE(description.size(), 3U) << name;
    }
    EXPECT_EQ(commands, 47U);
}
