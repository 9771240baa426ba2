#include "zeb_fpga_shell/pktio/bit_rate.h"
#include "zeb_fpga_shell/pktio/stream_rates.h"

#include <osl/cpputils/error.h>
#include <osl/testing/fake_mem.h>
#include <osl/testing/fake_timing.h>
#include <osl/testing/test.h>

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

/// Counters of the PID handling block that move while a measurement waits.
class StreamRatesTest : public testing::Test
{
protected:
    StreamRatesTest()
    {
        m_Timing.onWait = [this] {
            const auto time = std::chrono::duration_cast<std::chrono::milliseconds>(m_Timing.time.time_since_epoch());
            const uint64_t bits = m_BitsPerSecond * static_cast<uint64_t>(time.count()) / 1000;
            // Only 18 bits count.
            m_Mem.words[1024 + 3] = 0xABC00000 | (0x3FFF0 + bits / 1504) % 0x40000;
            m_Mem.words[1280 + 255] = 5;
        };
        m_Mem.words[1024 + 3] = 0xABC3FFF0;
    }
    std::string measure(std::chrono::milliseconds time, const StreamRates::Style& style = {})
    {
        EXPECT_TRUE(m_Rates.measure(time, [] { return false; }));
        std::ostringstream out;
        m_Rates.print(out, style);
        return out.str();
    }

    uint64_t m_BitsPerSecond = 32 * 1504;
    Testing::FakeMem m_Mem{2048};
    Testing::FakeTiming m_Timing;
    StreamRates m_Rates{m_Mem, m_Timing.timing()};
};

/// Bit/s of a stream and milliseconds of a measurement, over which the counter runs over up to 152 times.
class FastStreamRatesTest : public StreamRatesTest, public testing::WithParamInterface<std::tuple<uint64_t, int>>
{
};

} // namespace

TEST_F(StreamRatesTest, ShowsEveryStreamThatWasAskedFor)
{
    m_Rates.select({3, 4}, {255});
    EXPECT_EQ(measure(1s), "TSI(3): 48.13 kbit/s (6016 bytes in 1.00 seconds)\n"
                           "TSI(4): 0.00 bit/s (0 bytes in 1.00 seconds)\n"
                           "TSO(255): 7.52 kbit/s (940 bytes in 1.00 seconds)\n");
}

TEST_F(StreamRatesTest, AllShowsTheActiveOnesOnly)
{
    m_Rates.selectAll();
    EXPECT_EQ(measure(1s, {.unit = RateUnit::PLAIN_BITS, .onlyActive = true}),
              "TSI(3): 48128.00(6016 bytes in 1.00 seconds)\nTSO(255): 7520.00(940 bytes in 1.00 seconds)\n");
    EXPECT_EQ(m_Mem.accesses % 512, 0U);
}

TEST_P(FastStreamRatesTest, CountsHoweverOftenTheCounterRunsOver)
{
    const auto [megabits, milliseconds] = GetParam();
    m_BitsPerSecond = megabits * 1'000'000;
    m_Rates.select({3}, {});
    const uint64_t bytes = m_BitsPerSecond * static_cast<uint64_t>(milliseconds) / 1000 / 1504 * 188;
    const double seconds = milliseconds / 1000.;
    for (int i = 0; i < 2; ++i, m_Timing.time = {}, m_Mem.words[1024 + 3] = 0xABC3FFF0) {
        EXPECT_EQ(measure(std::chrono::milliseconds(milliseconds)), "TSI(3): " + describeRate(bytes, seconds) + "\n");
        EXPECT_EQ(m_Rates.doubt(), "");
    }
}

INSTANTIATE_TEST_SUITE_P(UpToAGigabit, FastStreamRatesTest,
                         testing::Combine(testing::Values(1, 100, 600, 1000), testing::Values(100, 1000, 5000, 60000)));

TEST_F(StreamRatesTest, SaysWhenItCouldNotLookForTooLong)
{
    m_Rates.select({3}, {});
    const auto count = m_Timing.onWait;
    m_Timing.onWait = [&] {
        m_Timing.time += 1200ms; // suspended
        count();
    };
    measure(1s);
    EXPECT_EQ(m_Rates.doubt(), "the counters were not read for 1.25 seconds; a rate above 315.41 Mbit/s shows too low");
}

TEST_F(StreamRatesTest, RefusesIndicesOutsideTheCounters)
{
    EXPECT_THROW(m_Rates.select({256}, {}), CppUtil::OutOfRangeError);
    EXPECT_THROW(m_Rates.select({}, {0xFFFFFFFF}), CppUtil::OutOfRangeError);
    EXPECT_EQ(m_Mem.accesses, 0U);
}
