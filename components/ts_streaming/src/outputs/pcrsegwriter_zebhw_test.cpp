#include <osl/testing/packet_maker.h>
#include <osl/testing/temp_file.h>
#include <osl/testing/test.h>
#include <osl/ts_streaming/outputs/pcrsegwriter_zebhw.h>

#include <filesystem>

using namespace Osl;
using namespace Osl::Ts;
using namespace Osl::Ts::Streaming;

namespace {

/// A regular file stands for channel 2.
class ZebPcrWriterTest : public testing::Test
{
protected:
    ZebPcrWriterTest() { std::filesystem::rename(m_Base.path(), m_Device); }

    std::string transferOf(unsigned mode, unsigned value, const std::vector<uint8_t>& packets, uint64_t duration)
    {
        std::filesystem::resize_file(m_Device, 0);
        ZebPcrWriter writer(2, mode, value, m_Base.path());
        const ssize_t result = writer.write(packets.data(), packets.size(), duration);
        std::ifstream file(m_Device, std::ios::binary);
        std::string transfer{std::istreambuf_iterator<char>(file), {}};
        EXPECT_EQ(result, static_cast<ssize_t>(transfer.size()));
        return transfer;
    }
    TempFile m_Base;
    std::string m_Device = m_Base.path() + "2";
};

const std::vector<uint8_t> THREE = Testing::join({Packet().mark(1), Packet().mark(2), Packet().mark(3)});

} // namespace

TEST_F(ZebPcrWriterTest, SmallerTransferAfterALargerOneHasNothingLeftOfIt)
{
    ZebPcrWriter writer(2, 0, 1, m_Base.path());
    EXPECT_EQ(writer.write(THREE.data(), THREE.size(), 300), 640);
    EXPECT_EQ(writer.write(THREE.data(), 188, 0), 256);
    EXPECT_EQ(writer.transferSize(), 256U);
    EXPECT_EQ(writer.writeRest(200), 56);
}

TEST_F(ZebPcrWriterTest, RefusesSpacingThatTheDeviceCannotExpress)
{
    const std::vector<uint8_t> many(std::size_t{5000} * 188, 0x47);
    constexpr uint64_t TOO_LONG = 0x300000; // as long as 20 bits of spacing can make three packets, and a tick
    EXPECT_EQ(transferOf(0, 1, THREE, TOO_LONG - 1).size(), 640U);
    EXPECT_EQ(transferOf(0, 1, many, 4095).size(), 64U + 5000 * 192);
    EXPECT_THAT(failureOf<WriteError>([&] { transferOf(0, 1, THREE, TOO_LONG); }),
                StartsWith("TS streaming write error: PCR based packet spacing too high. TS Stream rater either to low "
                           "or not CBR("));
    EXPECT_THAT(failureOf<WriteError>([&] { transferOf(0, 1, many, 4096); }),
                HasSubstr("PCR based packet spacing remainder too high. TS Stream rater either to low or not CBR("));
    EXPECT_THAT(failureOf<WriteError>([&] { transferOf(0, 1, many, uint64_t{5000} * 0x100000 + 4999); }),
                HasSubstr("packet spacing too high"));
    EXPECT_TRUE(std::filesystem::is_empty(m_Device)) << "nothing of a refused segment is sent";
}

TEST_F(ZebPcrWriterTest, BrokenPreconditionsEndTheProcess)
{
    ZebPcrWriter writer(2, 0, 0, m_Base.path());
    EXPECT_DEATH(writer.write(THREE.data(), 189, 0), "bytes % TS_SIZE == 0.*pcrsegwriter_zebhw");
    EXPECT_DEATH(writer.write(THREE.data() + 1, 188, 0), "is_aligned\\(buffer, 4\\)");
}
