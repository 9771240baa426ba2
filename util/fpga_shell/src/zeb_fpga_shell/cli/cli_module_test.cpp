#include "zeb_fpga_shell/cli/cli_module.h"
#include "zeb_fpga_shell/shell_error.h"

#include <osl/testing/argument_vector.h>
#include <osl/testing/failure_of.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>

using namespace Osl::Utils;
using Osl::Testing::ArgumentVector;
using Osl::Testing::failureOf;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

/// Answers 7 and says how it was called.
class EchoCmd : public CliCmd
{
public:
    explicit EchoCmd(const std::string& name) : CliCmd(name, "See it", "Echoes " + name) {}
    int doCommand(Options&, std::ostream& out, std::istream&) override
    {
        out << getName() << " ran";
        return 7;
    }
};

struct Outcome
{
    int status;
    std::string out;
    std::string err;
};

Outcome runWords(std::vector<std::string> words)
{
    CliModule module;
    module.addCmd(std::make_unique<EchoCmd>("write"));
    module.addCmd(std::make_unique<EchoCmd>("read"));
    ArgumentVector arguments(std::move(words));
    std::ostringstream out;
    std::istringstream in;
    testing::internal::CaptureStderr();
    const int status = module.run(arguments.argc(), arguments.argv(), out, in);
    return {status, out.str(), testing::internal::GetCapturedStderr()};
}

} // namespace

TEST(CliModuleTest, RunsTheCommandNamedInAnyCase)
{
    const Outcome outcome = runWords({"READ"});
    EXPECT_EQ(outcome.status, 7);
    EXPECT_EQ(outcome.out, "read ran");
}

TEST(CliModuleTest, ListAndHelpShowTheCommandsSorted)
{
    for (const char* word : {"list", "help", "-h", "--help", "LIST"}) {
        const Outcome outcome = runWords({word});
        EXPECT_EQ(outcome.status, 0) << word;
        EXPECT_EQ(outcome.out, "read\nEchoes read\n\nwrite\nEchoes write\n\n") << word;
    }
}

TEST(CliModuleTest, UnknownAndMissingCommands)
{
    EXPECT_EQ(runWords({"Nix"}).err, "Unknown command: \"nix\". Exiting.\n");
    EXPECT_EQ(runWords({"nix"}).status, -1);
    EXPECT_EQ(runWords({}).err, "Unknown command: \"\". Exiting.\n");
    EXPECT_EQ(runWords({}).status, -1);
}

TEST(CliModuleTest, HelpOptionPrintsHelpAndLeavesTheBodyAlone)
{
    const Outcome outcome = runWords({"read", "-h"});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_THAT(outcome.out, StartsWith("Echoes read\nUsage:\n  read "));
    EXPECT_THAT(outcome.out, testing::Not(HasSubstr("ran")));
}

TEST(CliModuleTest, UnknownOptionPrintsHelpOnStandardError)
{
    const Outcome outcome = runWords({"read", "--nope"});
    EXPECT_EQ(outcome.status, -1);
    EXPECT_EQ(outcome.out, "");
    EXPECT_THAT(outcome.err, StartsWith("Invalid options detected. See help.\nEchoes read\nUsage:\n  read "));
}

TEST(CliModuleTest, NamesMustBeNewAndNotReserved)
{
    CliModule module;
    module.addCmd(std::make_unique<EchoCmd>("read"));
    for (const std::string name : {"read", "list", "help"})
        EXPECT_THAT(failureOf<ShellError>([&] { module.addCmd(std::make_unique<EchoCmd>(name)); }),
                    StartsWith("Shell Error: Redundant command strings are not allowed. \"" + name +
                               "\" is already added to the CliModule.("));
    EXPECT_THAT(failureOf<ShellError>([&] { module.addCmd(std::make_unique<EchoCmd>("")); }),
                StartsWith("Shell Error: Empty cmd strings are not allowed.("));
}
