#include <osl/testing/failure_of.h>
#include <osl/testing/packet_maker.h>
#include <osl/testing/temp_file.h>
#include <osl/ts_streaming/outputs/pcrsegwriter_zebhw.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

using namespace Osl;
using namespace Osl::Ts;
using namespace Osl::Ts::Streaming;
using Osl::Testing::failureOf;
using Osl::Testing::Packet;
using Osl::Testing::TempFile;
using testing::HasSubstr;
using testing::StartsWith;

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
    std::string refusal(unsigned channel, unsigned mode, unsigned value)
    {
        return failureOf<CppUtil::InvalidArgumentError>([&] { ZebPcrWriter(channel, mode, value, m_Base.path()); });
    }

    TempFile m_Base;
    std::string m_Device = m_Base.path() + "2";
};

uint32_t wordAt(const std::string& transfer, std::size_t offset)
{
    uint32_t word = 0;
    for (std::size_t i = 0; i < 4; ++i)
        word = word << 8 | static_cast<uint8_t>(transfer.at(offset + i));
    return word;
}

const std::vector<uint8_t> THREE = Testing::join({Packet().mark(1), Packet().mark(2), Packet().mark(3)});

} // namespace

TEST_F(ZebPcrWriterTest, TransferHoldsSpacingRemainderAndMarkedRecords)
{
    const std::string transfer = transferOf(0, 5, THREE, 24367);
    ASSERT_EQ(transfer.size(), 64U + 3 * 192);
    EXPECT_EQ(wordAt(transfer, 0), 8122U);
    EXPECT_EQ(wordAt(transfer, 4), 1U);
    EXPECT_EQ(transfer.substr(8, 56), std::string(56, '\0'));
    EXPECT_EQ(wordAt(transfer, 64), 0x00000005U);
    EXPECT_EQ(wordAt(transfer, 64 + 192), 0x00000005U);
    EXPECT_EQ(wordAt(transfer, 64 + 2 * 192), 0x01000005U);
    for (std::size_t i = 0; i < 3; ++i)
        EXPECT_TRUE(std::equal(THREE.begin() + long(i * 188), THREE.begin() + long((i + 1) * 188),
                               transfer.begin() + long(68 + i * 192),
                               [](uint8_t sent, char came) { return sent == uint8_t(came); }));
}

TEST_F(ZebPcrWriterTest, HeaderNamesTheDesignatorAndSegmentsWithoutDurationHaveNoMark)
{
    EXPECT_EQ(wordAt(transferOf(1, 4095, THREE, 0), 64 + 2 * 192), 0x40000FFFU);
    EXPECT_EQ(wordAt(transferOf(3, 255, THREE, 2), 64 + 2 * 192), 0xC10000FFU);
    EXPECT_EQ(wordAt(transferOf(3, 0, THREE, 0), 64), 0xC0000000U);
}

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

TEST_F(ZebPcrWriterTest, ChecksDesignatorThenChannelThenOpens)
{
    const std::pair<unsigned, unsigned> badDesignators[]{{0, 256}, {1, 0}, {1, 4096}, {2, 1}, {3, 256}, {4, 0}};
    for (const auto& [mode, value] : badDesignators)
        EXPECT_THAT(refusal(9, mode, value),
                    StartsWith("Invalid Argument Error: Invalid TS TX DMA mode " + std::to_string(mode) +
                               " or invalid TSI,PIDIDX,TSO value " + std::to_string(value) + "("));
    EXPECT_THAT(refusal(4, 0, 0), StartsWith("Invalid Argument Error: Invalid TS TX DMA channel number 4("));
    EXPECT_THAT(failureOf<CppUtil::FileSystemError>([&] { ZebPcrWriter(3, 0, 0, m_Base.path()); }),
                HasSubstr("Could not open file: \"" + m_Base.path() + "3\" with flags: 2"));
}

TEST_F(ZebPcrWriterTest, BrokenPreconditionsEndTheProcess)
{
    ZebPcrWriter writer(2, 0, 0, m_Base.path());
    EXPECT_DEATH(writer.write(THREE.data(), 189, 0), "bytes % TS_SIZE == 0.*pcrsegwriter_zebhw");
    EXPECT_DEATH(writer.write(THREE.data() + 1, 188, 0), "is_aligned\\(buffer, 4\\)");
}
