#include "zeb_fpga_shell/cli/cammon_cmds.h"

#include <osl/cpputils/error.h>
#include <osl/testing/argument_vector.h>
#include <osl/testing/failure_of.h>
#include <osl/testing/temp_folder.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>

using namespace Osl::Utils;
using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

const std::string FOLDER = "/sys/class/zebdvbci/ci_slot0:";

/// Monitors of three entries in slots 0 and 7.
class CamMonCmdsTest : public testing::Test
{
protected:
    CamMonCmdsTest()
    {
        for (const std::string slot : {"0", "7"}) {
            const std::string folder = FOLDER + slot;
            m_Root.put(folder + "/mon_size", "3\n");
            m_Root.put(folder + "/mon_pidtab", std::vector<uint32_t>{0x1FFF, 0x1FFF, 0x1FFF});
            m_Root.put(folder + "/mon_pktcntrs", std::vector<uint32_t>{0x12, 0xFFFFFFFF, 0});
            m_Root.put(folder + "/mon_errcntrs", std::vector<uint32_t>{0, 1, 0});
        }
    }

    template <class Command>
    std::string run(std::vector<std::string> words)
    {
        words.insert(words.begin(), "cammon");
        Osl::Testing::ArgumentVector arguments(std::move(words));
        std::ostringstream out;
        std::istringstream in;
        Command command("cammon", "See cammon -h", "Works on a CAM monitor.", m_Root.root());
        EXPECT_EQ(command.run(arguments.argc(), arguments.argv(), out, in), 0);
        return out.str();
    }

    template <class Command>
    std::string refusal(const std::vector<std::string>& words)
    {
        return Osl::Testing::failureOf<Osl::Error>([&] { run<Command>(words); });
    }

    std::vector<uint32_t> pids() const { return m_Root.words(FOLDER + "0/mon_pidtab"); }

    Osl::Testing::TempFolder m_Root;
};

} // namespace

TEST_F(CamMonCmdsTest, WatchedPidsAreListedWithTheirCounters)
{
    EXPECT_EQ(run<CamMonReadCmd>({}), "");
    run<CamMonWriteCmd>({"-p", "0x20"});
    run<CamMonWriteCmd>({"-p", "8190", "-S", "0"});
    EXPECT_EQ(run<CamMonReadCmd>({}), "00: PID:0x0020(0032), PKT_CNT:0x00012(000018), ERR_CNT:0x00000(000000)\n"
                                      "01: PID:0x1ffe(8190), PKT_CNT:0xffffffff(4294967295), "
                                      "ERR_CNT:0x00001(000001)\n");
    EXPECT_EQ(run<CamMonReadCmd>({"-S", "7"}), "");
    run<CamMonClearCmd>({});
    EXPECT_THAT(run<CamMonReadCmd>({"-s"}),
                StartsWith("00: PID:0x1fff(8191), PKT_CNT:0x00012(000018), ERR_CNT:0x00000(000000)\n01: PID:0x1fff"));
}

TEST_F(CamMonCmdsTest, APidTakesTheFirstFreeEntryOnceAndIsClearedWhereItIsFirst)
{
    m_Root.put(FOLDER + "0/mon_pidtab", std::vector<uint32_t>{0x21, 0x1F, 0x1FFF});
    for (const std::string pid : {"0x20", "0x21", "0x20", "0x1FFE"})
        run<CamMonWriteCmd>({"-p", pid});
    EXPECT_THAT(pids(), ElementsAre(0x21, 0x20, 0x1FFE));
    EXPECT_THAT(refusal<CamMonWriteCmd>({"-p", "0x22"}), HasSubstr("error: PID table is full("));
    run<CamMonWriteCmd>({"-p", "0x21"});
    run<CamMonWriteCmd>({"-c", "-p", "0x22"});
    EXPECT_THAT(pids(), ElementsAre(0x21, 0x20, 0x1FFE));
    m_Root.put(FOLDER + "0/mon_pidtab", std::vector<uint32_t>{0x1F, 0x40, 0x40});
    run<CamMonWriteCmd>({"-c", "-p", "0x40"});
    EXPECT_THAT(pids(), ElementsAre(0x1F, 0x1FFF, 0x40));
}

TEST_F(CamMonCmdsTest, AFileThatIsMissingOrOfAnotherLengthChangesNothing)
{
    for (const std::string size : {"2", "4", "-3"}) {
        m_Root.put(FOLDER + "0/mon_size", size);
        EXPECT_THAT(refusal<CamMonWriteCmd>({"-p", "0x20"}), HasSubstr("Cannot read sysfs entry: \""));
    }
    EXPECT_THAT(pids(), Each(0x1FFF));
    m_Root.remove(FOLDER + "7/mon_pidtab");
    EXPECT_THAT(refusal<CamMonClearCmd>({"-S", "7"}),
                HasSubstr("Cannot write sysfs entry: \"" + m_Root.root() + FOLDER + "7/mon_pidtab: No such file"));
    EXPECT_FALSE(m_Root.has(FOLDER + "7/mon_pidtab"));
}
