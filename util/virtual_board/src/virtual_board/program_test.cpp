#include "virtual_board/program.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <vector>

namespace {

class VirtualBoardProgramTest : public testing::Test
{
public:
    VirtualBoardProgramTest() : m_Folder(::mkdtemp(m_Name)) {}
    ~VirtualBoardProgramTest() override { std::filesystem::remove_all(m_Folder); }

protected:
    static int run(std::vector<const char*> arguments)
    {
        arguments.insert(arguments.begin(), "zeb_virtual_board");
        arguments.push_back(nullptr);
        return Osl::VirtualBoard::runProgram(static_cast<int>(arguments.size()) - 1,
                                             const_cast<char**>(arguments.data()));
    }

    char m_Name[34] = "/tmp/virtual_board_program.XXXXXX";
    const char* m_Folder;
};

} // namespace

TEST_F(VirtualBoardProgramTest, EndsAsTheCommandDoes)
{
    EXPECT_EXIT(std::exit(run({m_Folder, "sh", "-c", "exit 3"})), testing::ExitedWithCode(3), "");
    std::signal(SIGINT, SIG_IGN);
    EXPECT_EXIT(std::exit(run({m_Folder, "sh", "-c", "kill -INT $$"})), testing::ExitedWithCode(128 + SIGINT), "");
    std::signal(SIGINT, SIG_DFL);
}

TEST_F(VirtualBoardProgramTest, FailuresHaveTheStatusOfTheirKind)
{
    EXPECT_EXIT(std::exit(run({m_Folder, "/nowhere/tool"})), testing::ExitedWithCode(127),
                "cannot run /nowhere/tool: No such file or directory");
    EXPECT_EXIT(std::exit(run({m_Folder, "/tmp"})), testing::ExitedWithCode(126), "cannot run /tmp: Permission denied");
    EXPECT_EXIT(std::exit(run({"/dev/null/board", "true"})), testing::ExitedWithCode(125), "Cannot make folder");
    EXPECT_EXIT(std::exit(run({})), testing::ExitedWithCode(125), "usage: ");
    EXPECT_EXIT(std::exit(run({"--unknown"})), testing::ExitedWithCode(125), "usage: ");
}
