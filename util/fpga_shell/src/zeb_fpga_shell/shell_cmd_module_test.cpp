#include "zeb_fpga_shell/shell_cmd_module.h"
#include "zeb_fpga_shell/shell_error.h"

#include <osl/testing/failure_of.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>

using namespace Osl::Utils;

namespace {

struct Result
{
    int handled;
    std::string output;
    bool operator==(const Result&) const = default;
};

Result execute(ShellCmdModule& module, const std::string& line)
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

TEST(ShellCmdModuleTest, RunsItsCommandsAndShowsTheirUsage)
{
    ShellCmdModule module("tools");
    module.addCommand("good", "good <what>", "Succeeds", answering(true));
    module.addCommand("bad", "bad <what>", "Fails", answering(false));

    EXPECT_EQ(execute(module, "good help me"), (Result{1, "\ngood <what>\n"}));
    EXPECT_EQ(execute(module, "bad -h"), (Result{1, "\nbad <what>\n"}));
    EXPECT_EQ(execute(module, "bad --help"), (Result{1, "\nbad <what>\n"}));
    EXPECT_EQ(execute(module, "good me help"), (Result{1, "\n2 arguments"}));
    EXPECT_EQ(execute(module, "bad"), (Result{0, "\n0 arguments"}));
    EXPECT_EQ(execute(module, "ugly"), (Result{0, ""}));
}

TEST(ShellCmdModuleTest, KeepsCommandsSortedAndUnique)
{
    ShellCmdModule module("tools");
    module.addCommand("b", "", "Second", answering(true));
    module.addCommand("a", "", "First", answering(true));
    EXPECT_THAT(Osl::Testing::failureOf<ShellError>([&] { module.addCommand("b", "", "Other", answering(true)); }),
                testing::StartsWith("Shell Error: Failed adding redundant command (b)("));

    const auto commands = module.getCommands();
    ASSERT_EQ(commands.size(), 2U);
    EXPECT_EQ(commands[0].moduleName + ": " + commands[0].name + ": " + commands[0].description, "tools: a: First");
    EXPECT_EQ(commands[1].name + ": " + commands[1].description, "b: Second");
    EXPECT_TRUE(module.hasCommand("a"));
    EXPECT_FALSE(module.hasCommand("c"));
}
