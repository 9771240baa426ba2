#include "zeb_fpga_shell/cli/mcnotlut_cmds.h"

#include <osl/testing/argument_vector.h>
#include <osl/testing/temp_folder.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>

using namespace Osl::Utils;
using testing::ElementsAre;

namespace {

const std::string TABLE = "/sys/class/net/sfp/mcnotlut";
const std::string SIZE = "/sys/class/net/sfp/mcnotlut_size";

/// A filter of three entries: two vacant ones, then 0.0.0.7.
class McNotLutCmdsTest : public testing::Test
{
protected:
    McNotLutCmdsTest() { use({0, 0, 7}); }

    void use(const std::vector<uint32_t>& table) const
    {
        m_Root.put(SIZE, std::to_string(table.size()) + "\n");
        m_Root.put(TABLE, table);
    }

    /// Output and exit status of a run.
    template <class Command>
    std::string run(std::vector<std::string> words)
    {
        words.insert(words.begin(), "mcnotlut");
        Osl::Testing::ArgumentVector arguments(std::move(words));
        std::ostringstream out;
        std::istringstream in;
        Command command("mcnotlut", "See mcnotlut -h", "Works on the filter.", m_Root.root());
        const int status = command.run(arguments.argc(), arguments.argv(), out, in);
        return out.str() + std::to_string(status);
    }

    Osl::Testing::TempFolder m_Root;
};
using McNotLutCmdsDeathTest = McNotLutCmdsTest;

} // namespace

TEST_F(McNotLutCmdsTest, AddressesFillTheTableFromItsEnd)
{
    EXPECT_EQ(run<McNotLutWriteCmd>({"-m", "239.0.0.1"}), "0");
    EXPECT_EQ(run<McNotLutWriteCmd>({"-m", "239.0.0.1"}), "0");
    EXPECT_EQ(run<McNotLutReadCmd>({}), "001: 239.0.0.1\n002: 0.0.0.7\n0");
    EXPECT_EQ(run<McNotLutReadCmd>({"-s"}), "000: 0.0.0.0\n001: 239.0.0.1\n002: 0.0.0.7\n0");
    EXPECT_EQ(run<McNotLutWriteCmd>({"-m", "239.0.0.2"}), "0");
    EXPECT_EQ(run<McNotLutWriteCmd>({"-m", "239.0.0.3"}), "Error: No vacant entries in multicast NOT LUT\n-1");
    EXPECT_EQ(run<McNotLutWriteCmd>({"-m", "239.0.0.2"}), "0");
    EXPECT_THAT(m_Root.words(TABLE), ElementsAre(0xEF000002, 0xEF000001, 7));
}

TEST_F(McNotLutCmdsTest, ClearTakesTheHighestOfEqualAddresses)
{
    use({0xEF000001, 0, 0xEF000001, 5});
    EXPECT_EQ(run<McNotLutWriteCmd>({"-c", "-m", "239.0.0.2"}), "Error: Entry not found\n-1");
    EXPECT_EQ(run<McNotLutWriteCmd>({"-c", "-m", "239.0.0.1"}), "0");
    EXPECT_THAT(m_Root.words(TABLE), ElementsAre(0xEF000001, 0, 0, 5));
}

TEST_F(McNotLutCmdsDeathTest, AShortTableIsABrokenDriver)
{
    m_Root.put(SIZE, "4");
    EXPECT_DEATH(run<McNotLutWriteCmd>({"-m", "239.0.0.1"}),
                 R"(Assertion failed: \[ret > 0 && \(\(uint32_t\)ret == size \* 4\)\])");
}
