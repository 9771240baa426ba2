#include "zeb_fpga_shell/pktio/bit_rate.h"
#include "zeb_fpga_shell/pktio/stream_rates.h"

#include <osl/cpputils/error.h>
#include <osl/testing/fake_mem.h>
#include <osl/testing/fake_timing.h>

#include <gtest/gtest.h>

#include <sstream>

using namespace Osl;
using namespace Osl::Utils;
using namespace std::chrono_literals;

TEST(BitRateTest, ChoosesTheUnitByTheRate)
{
    EXPECT_EQ(describeRate(1'250'000, 1), "10.00 Mbit/s (1250000 bytes in 1.00 seconds)");
    EXPECT_EQ(describeRate(125'000, 1), "1.00 Mbit/s (125000 bytes in 1.00 seconds)");
    EXPECT_EQ(describeRate(125, 1), "1.00 kbit/s (125 bytes in 1.00 seconds)");
    EXPECT_EQ(describeRate(999, 8), "999.00 bit/s (999 bytes in 8.00 seconds)");
    EXPECT_EQ(describeRate(0, 0.5), "0.00 bit/s (0 bytes in 0.50 seconds)");
    EXPECT_EQ(describeRate(1'250'000, 1, RateUnit::PLAIN_BITS), "10000000.00(1250000 bytes in 1.00 seconds)");
}

namespace {

/// The counters of the PID handling block, which may move while a measurement waits.
class StreamRatesTest : public testing::Test
{
protected:
    std::string measure(const StreamRates::Style& style)
    {
        m_Rates.begin();
        m_Timing.time += 1s;
        m_Mem.words[1024 + 3] = 0x10;
        m_Mem.words[1280 + 255] = 5;
        m_Rates.end();
        std::ostringstream out;
        m_Rates.print(out, style);
        return out.str();
    }

    Testing::FakeMem m_Mem{2048};
    Testing::FakeTiming m_Timing;
    StreamRates m_Rates{m_Mem, m_Timing.timing().now};
};

} // namespace

TEST_F(StreamRatesTest, CountsAcrossTheWrapAndShowsEveryStreamThatWasAskedFor)
{
    m_Mem.words[1024 + 3] = 0xABC3FFF0; // only 18 bits count
    m_Rates.select({3, 4}, {255});
    EXPECT_EQ(measure({}), "TSI(3): 48.13 kbit/s (6016 bytes in 1.00 seconds)\n"
                           "TSI(4): 0.00 bit/s (0 bytes in 1.00 seconds)\n"
                           "TSO(255): 7.52 kbit/s (940 bytes in 1.00 seconds)\n");
}

TEST_F(StreamRatesTest, AllShowsTheActiveOnesOnly)
{
    m_Rates.selectAll();
    EXPECT_EQ(measure({.unit = RateUnit::PLAIN_BITS, .onlyActive = true}),
              "TSI(3): 24064.00(3008 bytes in 1.00 seconds)\nTSO(255): 7520.00(940 bytes in 1.00 seconds)\n");
    EXPECT_EQ(m_Mem.accesses, 4 * 256U);
}

TEST_F(StreamRatesTest, RefusesIndicesOutsideTheCounters)
{
    EXPECT_THROW(m_Rates.select({256}, {}), CppUtil::OutOfRangeError);
    EXPECT_THROW(m_Rates.select({}, {0xFFFFFFFF}), CppUtil::OutOfRangeError);
    EXPECT_EQ(m_Mem.accesses, 0U);
}
