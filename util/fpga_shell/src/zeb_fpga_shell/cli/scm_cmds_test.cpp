#include "zeb_fpga_shell/cli/scm_cmds.h"
#include "zeb_fpga_shell/shell_error.h"

#include <osl/testing/argument_vector.h>
#include <osl/testing/failure_of.h>
#include <osl/testing/temp_folder.h>

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>

using namespace Osl::Utils;
using Osl::Testing::ArgumentVector;
using Osl::Testing::failureOf;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

const std::string BARSIZE = "/sys/class/zebscm/scm/barsize";
const std::string KEY_A = "0F1E2D3C4B5A69788796A5B4C3D2E1F0";
const std::string KEY_B = "00000000000000000000000000000001";
const std::string ZEROS(32, '0');

std::string listing(const std::string& ivEven, const std::string& keyEven, const std::string& ivOdd,
                    const std::string& keyOdd)
{
    return fmt::format("IV_EVEN: {}\nKEY_EVEN: {}\nIV_ODD: {}\nKEY_ODD: {}\n", ivEven, keyEven, ivOdd, keyOdd);
}

/// A scrambler after reset.
class ScmCmdsTest : public testing::Test
{
protected:
    ScmCmdsTest()
    {
        m_Root.put(BARSIZE, "0x2000\n");
        std::vector<uint32_t> memory(2048);
        std::fill(memory.begin() + 1024, memory.end(), 0xFFFFFFFF);
        m_Root.put("/dev/scm", memory);
    }

    template <class Command>
    std::string run(std::vector<std::string> words, const std::string& input = {})
    {
        words.insert(words.begin(), "scm");
        ArgumentVector arguments(std::move(words));
        std::ostringstream out;
        std::istringstream in(input);
        Command command("scm", "See scm -h", "Works on the scrambler.", m_Root.root());
        EXPECT_EQ(command.run(arguments.argc(), arguments.argv(), out, in), 0);
        return out.str();
    }

    template <class Command>
    std::string refusal(const std::vector<std::string>& words, const std::string& input = {})
    {
        return failureOf<Osl::Error>([&] { run<Command>(words, input); });
    }

    Osl::Testing::TempFolder m_Root;
};

} // namespace

TEST_F(ScmCmdsTest, EntriesAreWrittenListedAndCleared)
{
    EXPECT_EQ(run<ScmReadPidlut>({}), "");
    run<ScmWritePidlut>({"-s", "1", "-p", "0x100", "-k", "63"});
    run<ScmWritePidlut>({"-s", "0", "-p", "8190"});
    EXPECT_EQ(run<ScmReadPidlut>({}), "000 (0x00000400): SCMIDX:0, PID:0x1ffe, KEYIDX:0, \n"
                                      "001 (0x00000401): SCMIDX:1, PID:0x0100, KEYIDX:63, \n");
    EXPECT_EQ(run<ScmReadPidlut>({"-i"}), "000 (0x00000600): SCMIDX:1, PID:0x0100, KEYIDX:63, \n");
    EXPECT_EQ(run<ScmReadPidlut>({"-s", "-o", "511", "-c", "1"}),
              "511 (0x000005ff): SCMIDX:7, PID:0x1fff, KEYIDX:63, \n");
    run<ScmWritePidlut>({"-c", "-s", "1", "-p", "0x100"});
    EXPECT_EQ(run<ScmReadPidlut>({}), "000 (0x00000600): SCMIDX:0, PID:0x1ffe, KEYIDX:0, \n");
    run<ScmClearPidlut>({});
    EXPECT_EQ(run<ScmReadPidlut>({}) + run<ScmReadPidlut>({"-i"}), "");
    EXPECT_THAT(refusal<ScmWritePidlut>({}), HasSubstr("Invalid parameters."));
}

TEST_F(ScmCmdsTest, KeysReadBackAsTheyWereWritten)
{
    run<ScmWriteKeys>({"-e", KEY_A});
    EXPECT_EQ(m_Root.words("/dev/scm")[36], 0xC3D2E1F0);
    run<ScmWriteKeys>({"--odd_iv", KEY_B, "--odd_key", KEY_A, "--even_iv", KEY_B});
    EXPECT_EQ(run<ScmReadKeys>({}), listing(KEY_B, KEY_A, KEY_B, KEY_A));
}

TEST_F(ScmCmdsTest, DashTakesSuccessiveLinesOfTheInput)
{
    run<ScmWriteKeys>({"-O", "-", "-o", KEY_A, "-e", "-"}, KEY_A + "\n" + KEY_B);
    EXPECT_EQ(run<ScmReadKeys>({}), listing(ZEROS, KEY_A, KEY_B, KEY_A));
}

TEST_F(ScmCmdsTest, OneBadKeyAndNoneIsWrittenAndNoneFromTheInputIsShown)
{
    const std::string before = m_Root.text("/dev/scm");
    EXPECT_THAT(refusal<ScmWriteKeys>({"-e", KEY_A, "-O", "0x" + KEY_B}),
                StartsWith("Shell Error: Cannot convert 0x" + KEY_B + " into valid 128 bit key/IV("));
    const std::string dash = "Shell Error: Cannot convert - into valid 128 bit key/IV(";
    EXPECT_THAT(refusal<ScmWriteKeys>({"-e", "-", "-o", "-"}, KEY_A + "\n" + KEY_A + "0\n"), StartsWith(dash));
    EXPECT_THAT(refusal<ScmWriteKeys>({"-e", "-", "-o", "-"}, KEY_A), StartsWith(dash));
    EXPECT_THAT(refusal<ScmWriteKeys>({}), StartsWith("Shell Error: Missing manadatory key and/or IV option("));
    EXPECT_EQ(m_Root.text("/dev/scm"), before);
}
