#include <osl/testing/packet_maker.h>
#include <osl/testing/test.h>
#include <osl/ts_basics/tspacket.h>
#include <osl/ts_streaming/inputs/format_probe.h>
#include <osl/ts_streaming/inputs/packet_limit.h>

#include <algorithm>

using namespace Osl::Ts;
using namespace Osl::Ts::Streaming;

namespace {

/// Bytes in memory as a source.
class MemoryReader : public ITsReader
{
public:
    explicit MemoryReader(std::vector<uint8_t> data, std::size_t atOnce = ~std::size_t{0})
        : m_Data(std::move(data)),
          m_AtOnce(atOnce)
    {
    }
    std::span<uint8_t> read(std::span<uint8_t> buffer) override
    {
        const std::size_t count = std::min({buffer.size(), m_Data.size() - m_At, m_AtOnce});
        if (count == 0)
            OSL_RAISE(ReadException, "end", ReadReason::END_OF_DATA);
        std::copy_n(m_Data.begin() + long(m_At), count, buffer.begin());
        m_At += count;
        return buffer.first(count);
    }

private:
    std::vector<uint8_t> m_Data;
    std::size_t m_AtOnce; ///< bytes that a read answers at most
    std::size_t m_At = 0;
};

std::vector<uint8_t> packets(std::size_t count) { return join(std::vector<Packet>(count)); }

FormatProbe probeOver(std::vector<uint8_t> data, std::size_t packetsAtOnce = 1000)
{
    return FormatProbe(std::make_unique<MemoryReader>(std::move(data), packetsAtOnce * TS_SIZE));
}

/// Packets that come out before the reader raises, with its text.
std::pair<std::size_t, std::string> drain(ITsReader& reader)
{
    std::size_t count = 0;
    std::vector<uint8_t> buffer(30 * TS_SIZE);
    const std::string text = failureOf<ReadException>([&] {
        for (;;)
            count += reader.read(buffer).size() / TS_SIZE;
    });
    return {count, text};
}

} // namespace

TEST(FormatProbeTest, HandsOnEverythingOfAGoodInput)
{
    for (const std::size_t count : {1U, 63U, 64U, 200U}) {
        for (const std::size_t atOnce : {1U, 1000U}) {
            FormatProbe good = probeOver(packets(count), atOnce);
            EXPECT_EQ(drain(good).first, count);
        }
    }
}

TEST(FormatProbeTest, RefusesOtherFormatsBeforeAnythingComesOut)
{
    std::vector<uint8_t> broken = packets(100);
    broken[3 * TS_SIZE] = 0x48;
    for (const std::size_t atOnce : {1U, 1000U}) {
        FormatProbe noTs = probeOver(broken, atOnce);
        const auto [count, text] = drain(noTs);
        EXPECT_EQ(count, 0U);
        EXPECT_THAT(text, AllOf(HasSubstr("byte 564 is 0x48"), Not(HasSubstr("looks like"))));
    }
}

TEST(PacketLimitTest, EndsAfterSoManyPackets)
{
    for (const auto& [limit, expected] : {std::pair{1U, 1U}, {30U, 30U}, {61U, 61U}, {500U, 100U}}) {
        PacketLimit reader(std::make_unique<MemoryReader>(packets(100)), limit);
        EXPECT_EQ(drain(reader).first, expected);
    }
}
