#include "zeb_fpga_shell/cli/bitrate_cmds.h"

#include <osl/testing/argument_vector.h>
#include <osl/testing/fake_timing.h>
#include <osl/testing/temp_file.h>
#include <osl/testing/test.h>

#include <fstream>
#include <sstream>

using namespace Osl;
using namespace Osl::Utils;

namespace {

std::string refusal(CliCmd& command, std::vector<std::string> words)
{
    words.insert(words.begin(), command.getName());
    Testing::ArgumentVector arguments(std::move(words));
    std::ostringstream out;
    std::istringstream in;
    return failureOf<Error>([&] { command.run(arguments.argc(), arguments.argv(), out, in); });
}

/// Counts in a file of the test's.
struct FileRate : PKTIOBitRateMeas
{
    FileRate(std::string path, StopFlag stopFlag, Timing timing)
        : PKTIOBitRateMeas("rate", "", "", std::move(stopFlag), std::move(timing)),
          m_Path(std::move(path))
    {
    }
    std::string counterPath(const Options&) const override { return m_Path; }
    std::string m_Path;
};

class PktioBitRateTest : public testing::Test
{
protected:
    void setCounter(const std::string& text) { std::ofstream(m_Counter.path()) << text; }
    std::string measure(std::vector<std::string> words)
    {
        words.insert(words.begin(), "rate");
        Testing::ArgumentVector arguments(std::move(words));
        std::ostringstream out;
        std::istringstream in;
        EXPECT_EQ(m_Command.run(arguments.argc(), arguments.argv(), out, in), 0);
        return out.str();
    }

    TempFile m_Counter;
    StopFlag m_StopFlag = std::make_shared<std::atomic<bool>>(false);
    Testing::FakeTiming m_Timing;
    FileRate m_Command{m_Counter.path(), m_StopFlag, m_Timing.timing()};
};

} // namespace

TEST_F(PktioBitRateTest, MeasuresOnceOrUntilStopped)
{
    setCounter("18446744073709000000\n");
    m_Timing.onWait = [this] { setCounter("18446744073709250000\n"); };
    EXPECT_EQ(measure({"-t", "200"}), "10.00 Mbit/s (250000 bytes in 0.20 seconds)\n");

    int count = 0;
    m_Timing.onWait = [&] {
        setCounter(std::to_string(++count * 1000));
        *m_StopFlag = count == 4;
    };
    setCounter("0");
    const std::string line = "8.00 kbit/s (1000 bytes in 1.00 seconds)\n";
    EXPECT_EQ(measure({"-c"}), line + line + line) << "the interrupted one is not printed";
}

TEST_F(PktioBitRateTest, FailsWithoutAUsableCounter)
{
    for (const std::string text : {"", "-1", "+1", "64abc", "0x40", "6 4", "1e2", "6.4", "18446744073709551616"}) {
        setCounter(text);
        EXPECT_THAT(refusal(m_Command, {}),
                    HasSubstr("Could not open: " + m_Counter.path() + ": its text is not a number"))
            << text;
    }
    setCounter("7");
    m_Timing.onWait = [this] { setCounter("6"); };
    EXPECT_THAT(refusal(m_Command, {}), HasSubstr("fell from 7 to 6"));
    EXPECT_THAT(refusal(m_Command, {"-t", "0"}), HasSubstr("--time: must be at least 1 ms"));
    PKTIOTxBitRateMeas tx("tsoutrate", "", "", m_StopFlag, m_Timing.timing());
    EXPECT_THAT(refusal(tx, {"-C", "4"}), HasSubstr("--channel: 4 is not in 0..3"));
    EXPECT_THAT(refusal(tx, {"-C", "3"}), HasSubstr("Could not open: /sys/class/zebtsif/zebtsif_pktio_tx3/bytestx"));
}
