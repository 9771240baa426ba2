#include "zeb_fpga_shell/shell.h"
#include "zeb_fpga_shell/shell_error.h"

#include <osl/testing/test.h>

#include <sstream>

using namespace Osl;
using namespace Osl::Utils;

namespace {

const std::string UP = "\x1B[A";
const std::string DOWN = "\x1B[B";
const std::string DEL = "\x7F";
const std::string LEFT = "\x1B[D";
const std::string ERASED = LEFT + " " + LEFT;

std::unique_ptr<ShellCmdModule> testModule(const std::string& command, const ShellCmdModule::Handler& handler)
{
    auto module = std::make_unique<ShellCmdModule>("test");
    module->addCommand(command, "usage", "Does " + command + ".", handler);
    EXPECT_THAT(Testing::failureOf<ShellError>([&] { module->addCommand(command, "", "", handler); }),
                StartsWith("Shell Error: Failed adding redundant command (" + command + ")("));
    return module;
}

bool echo(const ParsedShellCmd& cmd, std::istream&, std::ostream& out)
{
    for (const std::string& argument : cmd.getArguments())
        out << '[' << argument << ']';
    return true;
}

/// What the terminal shows between the first prompt and the exit message when a user types `keys`, which end with an
/// empty line. "do" echoes its arguments, "fail" raises, "garble" raises a parsing error, "decline" answers false.
std::string screenOf(const std::string& keys)
{
    std::istringstream in(keys);
    std::ostringstream out;
    Shell shell(in, out);
    shell.installModule(testModule("do", echo));
    shell.installModule(testModule("fail", [](auto&&...) -> bool { OSL_RAISE(CppUtil::IOError, "no answer"); }));
    shell.installModule(testModule("garble", [](auto&&...) -> bool { OSL_RAISE(CppUtil::ParsingError, "hidden"); }));
    shell.installModule(testModule("decline", [](auto&&...) { return false; }));
    EXPECT_EQ(out.str(), "");
    EXPECT_EQ(shell.run(), 0);

    const std::string head = "Ostrel Utill Shell..\n>> ";
    const std::string tail = "\nExiting.......\n\n";
    std::string screen = out.str();
    EXPECT_THAT(screen, StartsWith(head));
    EXPECT_THAT(screen, EndsWith(tail));
    return screen.substr(head.size(), screen.size() - head.size() - tail.size());
}

} // namespace

TEST(ShellTest, LeavesAtTheEndOfInputAndTakesEmptyLines)
{
    for (const char* const keys : {"", "\x1B", "\x1B["})
        EXPECT_EQ(screenOf(keys), "");
    EXPECT_EQ(screenOf("\n\n"), "\n>> \n>> ");
}

TEST(ShellTest, EchoesPrintableCharactersAndIgnoresOthers)
{
    EXPECT_EQ(screenOf("do ~!\r\b\t\x01\x80\xFF" + std::string(1, '\0') + " a1\n"), "do ~! a1\n[~!][a1]\n>> ");
    EXPECT_EQ(screenOf("do\x1B[C a\x1B[Db\x1B[3~\n"), "do ab~\n[ab~]\n>> ");
    EXPECT_EQ(screenOf("do a\x1B_\n"), "do a\x1B_\n[a\x1B_]\n>> ");
}

TEST(ShellTest, ErasesTheLastCharacterOnly)
{
    EXPECT_EQ(screenOf(UP + DOWN + DEL + "do abx" + DEL + "c\n"), "do abx" + ERASED + "c\n[abc]\n>> ");
    EXPECT_EQ(screenOf("a" + DEL + DEL), "a" + ERASED);
}

TEST(ShellTest, LowerCasesLinesAndReportsWhatItCannotExecuteAndGoesOn)
{
    EXPECT_EQ(screenOf("Do /Dev/X\n"), "Do /Dev/X\n[/dev/x]\n>> ");
    EXPECT_EQ(screenOf("decline\n"), "decline\n\ncannot execute command: \"decline\"\n>> ");
    EXPECT_EQ(screenOf("garble\n"), "garble\n\nMall-formed Command: garble\ncannot execute command: \"garble\"\n>> ");
    EXPECT_THAT(screenOf("fail\ndo ab\n"),
                AllOf(StartsWith("fail\nIOErrorr: no answer("), HasSubstr(")\n\n>> do ab\n[ab]\n>> "),
                      Not(HasSubstr("cannot execute"))));
}

TEST(ShellTest, BackShowsThenMovesForwardMovesThenShows)
{
    const std::string typed = "do 11\n[11]\n>> do 222\n[222]\n>> do 33\n[33]\n>> ";
    const auto afterwards = [&typed](const std::string& keys) {
        const std::string screen = screenOf("do 11\ndo 222\ndo 33\n" + keys);
        EXPECT_THAT(screen, StartsWith(typed));
        return screen.substr(typed.size());
    };
    const auto shown = [](const std::string& line, std::size_t rest = 0) {
        std::string text = "\r>> " + line + std::string(rest, ' ');
        for (std::size_t i = 0; i < rest; ++i)
            text += LEFT;
        return text;
    };
    EXPECT_EQ(afterwards(UP + UP + DOWN + "\n"), shown("do 33") + shown("do 222") + shown("do 222") + "\n[222]\n>> ");
    // The oldest is not left behind; the line that was being typed comes back once.
    EXPECT_EQ(afterwards("do typed" + UP + UP + UP + UP + DOWN + DOWN + DOWN + DOWN + "\n"),
              "do typed" + shown("do 33", 3) + shown("do 222") + shown("do 11", 1) + shown("do 11") + shown("do 222") +
                  shown("do 33", 1) + shown("do typed") + "\n[typed]\n>> ");
    // Submitting forgets the saved line, even an empty one, and makes the newest current.
    EXPECT_EQ(afterwards("ab" + UP + UP + "\n" + DOWN + UP + "\n"),
              "ab" + shown("do 33") + shown("do 222") + "\n[222]\n>> " + shown("do 222") + "\n[222]\n>> ");
    EXPECT_EQ(afterwards(UP + DEL + "\n" + DOWN), shown("do 33") + ERASED +
                                                      "\nMall-formed Command: do 3"
                                                      "\ncannot execute command: \"do 3\"\n>> ");
}

TEST(ShellTest, HistoryKeepsDuplicatesAndFailedLinesButNoEmptyOnes)
{
    EXPECT_THAT(
        screenOf("bad\ndo ab\ndo ab\n\n" + UP + UP + UP + "\n"),
        EndsWith("\n>> \n>> \r>> do ab\r>> do ab\r>> bad  " + LEFT + LEFT + "\ncannot execute command: \"bad\"\n>> "));
}

TEST(ShellTest, RefusesModulesWithACommandThatIsTaken)
{
    std::istringstream in;
    std::ostringstream out;
    Shell shell(in, out);
    shell.installModule(nullptr);
    shell.installModule(testModule("do", echo));
    for (const std::string taken : {"exit", "list", "do"}) {
        auto module = testModule(taken, echo);
        module->addCommand("another", "", "", echo);
        EXPECT_THAT(
            Testing::failureOf<ShellError>([&] { shell.installModule(std::move(module)); }),
            StartsWith("Shell Error: Failed installing command-module. Module has redundant command (" + taken + ")("));
    }
    EXPECT_EQ(shell.executeCommand("another"), 0);
    EXPECT_NE(shell.executeCommand("do"), 0);
}
