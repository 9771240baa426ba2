#include "zeb_fpga_shell/shell_cmd_module.h"
#include "zeb_fpga_shell/shell_error.h"

#include <osl/testing/failure_of.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>

using namespace Osl::Utils;

namespace {

/// What the module answers, and shows, when a line is typed.
std::pair<int, std::string> execute(ShellCmdModule& module, const std::string& line)
{
    std::istringstream in;
    std::ostringstream out;
    const int handled = module.execute(ParsedShellCmd(line), in, out);
    return {handled, out.str()};
}

ShellCmdModule::Handler answering(bool answer)
{
    return [answer](const ParsedShellCmd& cmd, std::istream&, std::ostream& out) {
        out << cmd.getArguments().size() << " arguments";
        return answer;
    };
}

} // namespace

TEST(ShellCmdModuleTest, RunsItsCommandsShowsTheirUsageAndKeepsThemSortedAndUnique)
{
    ShellCmdModule module("tools");
    module.addCommand("good", "good <what>", "Succeeds", answering(true));
    module.addCommand("bad", "bad <what>", "Fails", answering(false));
    EXPECT_THAT(Osl::Testing::failureOf<ShellError>([&] { module.addCommand("bad", "", "", answering(true)); }),
                testing::StartsWith("Shell Error: Failed adding redundant command (bad)("));

    EXPECT_EQ(execute(module, "good help me"), std::pair(1, std::string("\ngood <what>\n")));
    for (const char* const line : {"bad -h", "bad --help"})
        EXPECT_EQ(execute(module, line), std::pair(1, std::string("\nbad <what>\n")));
    EXPECT_EQ(execute(module, "good me help"), std::pair(1, std::string("\n2 arguments")));
    EXPECT_EQ(execute(module, "bad"), std::pair(0, std::string("\n0 arguments")));
    EXPECT_EQ(execute(module, "ugly"), std::pair(0, std::string()));

    const auto commands = module.getCommands();
    ASSERT_EQ(commands.size(), 2U);
    EXPECT_EQ(commands[0].moduleName + ": " + commands[0].name + ": " + commands[0].description, "tools: bad: Fails");
    EXPECT_EQ(commands[1].name, "good");
}
