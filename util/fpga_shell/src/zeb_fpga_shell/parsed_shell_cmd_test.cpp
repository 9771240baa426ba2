#include "zeb_fpga_shell/parsed_shell_cmd.h"

#include <osl/cpputils/error.h>
#include <osl/testing/test.h>

using Osl::Utils::ParsedShellCmd;

namespace {

struct Case
{
    std::string line;
    std::string name;
    std::list<std::string> arguments;
};

std::string failureOfLine(const std::string& line)
{
    return failureOf<Osl::CppUtil::ParsingError>([&line] { const ParsedShellCmd cmd(line); });
}

} // namespace

TEST(ParsedShellCmdTest, SplitsAtBlanksOutsideQuotes)
{
    for (const auto& [line, name, arguments] : std::vector<Case>{
             {"x", "x", {}},
             {"list ", "list ", {}}, // a last blank belongs to the name
             {" ", " ", {}},
             {" list", "", {"list"}},
             {"open /dev/x", "open", {"/dev/x"}},
             {"write 0x10 55", "write", {"0x10", "55"}},
             {"write 0x10 5 ", "write", {"0x10", "5"}},
             {"write  \"a b\"  c1", "write", {"a b", "c1"}},
             {"write \"\" \"5\"", "write", {"", "5"}},
             {"write \"a\"bc", "write", {"a", "bc"}},
             {"say\"so a\"b\"", "say\"so", {"a\"b\""}},
             {"a\tb c\td", "a\tb", {"c\td"}},
             {std::string("r\0ead a\0b", 9), "read", {"ab"}},
         }) {
        const ParsedShellCmd cmd(line);
        EXPECT_EQ(cmd.getName(), name) << line;
        EXPECT_EQ(cmd.getArguments(), arguments) << line;
        EXPECT_EQ(cmd.getRawLine(), line);
    }
}

TEST(ParsedShellCmdTest, RefusesLinesThatEndInsideAToken)
{
    for (const std::string line : {"x \"", "x \"y", "x y \"z z"})
        EXPECT_THAT(failureOfLine(line),
                    StartsWith("Generic parsing Error: Failed parsing of shell command. Unterminated quoted string("))
            << line;
    // The last one ends in a NUL byte, which is skipped, so neither its name nor the line has an end.
    for (const std::string& line : {std::string(), std::string("x y"), std::string("x ab c"), std::string("x\0", 2)})
        EXPECT_THAT(failureOfLine(line), StartsWith("Generic parsing Error: Failed parsing of shell command.("))
            << line;
}
