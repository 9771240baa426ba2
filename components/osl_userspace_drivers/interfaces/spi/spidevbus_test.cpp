#include <osl/testing/emulation.h>
#include <osl/testing/fake_spidev.h>
#include <osl/testing/temp_file.h>
#include <osl/testing/test.h>

#include <fstream>

using namespace Osl::Spi;
using namespace Osl::SpiModels;

namespace {

/// Sends back what was sent to it one byte before.
class EchoChip : public SpiChip
{
public:
    void deselect() override { frames.push_back(std::exchange(frame, {})); }
    uint8_t clockByte(uint8_t out, bool) override
    {
        frame.push_back(out);
        return std::exchange(m_Last, out);
    }
    std::vector<uint8_t> frame;
    std::vector<std::vector<uint8_t>> frames;

private:
    uint8_t m_Last = 0;
};

class SpidevBusTest : public testing::Test
{
protected:
    static constexpr SpiAccess ACCESS{"dac", "write", 7, 8};
    static constexpr SpidevBus::Settings SETTINGS{.mode = 0, .speedHz = 1'000'000};

    void transfer(std::size_t bytes)
    {
        SpidevBus bus("/dev/spidev9.1", SETTINGS, ACCESS, 4096, m_Calls);
        const std::vector<uint8_t> out(bytes, 0x5A);
        const SpiSegment frame{out, {}};
        bus.transfer({&frame, 1}, ACCESS);
    }

    std::string openFailure(const SpidevBus::Settings& settings = SETTINGS)
    {
        return failureOf<SPIError>([&] { SpidevBus("/dev/spidev9.1", settings, ACCESS, 4096, m_Calls); });
    }

    EchoChip m_Chip;
    FakeSpidev m_Calls{m_Chip};
};

} // namespace

TEST_F(SpidevBusTest, SetsTheNodeUpWhateverItsLastUserLeft)
{
    const SpidevBus bus("/dev/spidev9.1", {.mode = SPI_MODE_3, .speedHz = 123'456}, ACCESS, 4096, m_Calls);
    EXPECT_EQ(m_Calls.node.mode(), 3U);
    EXPECT_EQ(m_Calls.node.bitsPerWord(), 8U);
    EXPECT_EQ(m_Calls.node.speedHz(), 123'456U);
}

TEST_F(SpidevBusTest, OneMessageIsOneChipSelectPulse)
{
    SpidevBus bus("/dev/spidev9.1", SETTINGS, ACCESS, 4096, m_Calls);
    const std::vector<uint8_t> head{1, 2};
    std::vector<uint8_t> both{3, 4};
    std::vector<uint8_t> tail(2, 0xEE);
    const std::array segments{SpiSegment{head, {}}, SpiSegment{both, both}, SpiSegment{{}, tail}};
    bus.transfer(segments, ACCESS);
    EXPECT_THAT(m_Chip.frames, ElementsAre(std::vector<uint8_t>{1, 2, 3, 4, 0, 0}));
    EXPECT_THAT(both, ElementsAre(2, 3));
    EXPECT_THAT(tail, ElementsAre(4, 0));
}

TEST_F(SpidevBusTest, FilesThatAreNoSpidevNodeAreToldApart)
{
    OSL_SKIP_UNDER_QEMU("does not know the requests of spidev");
    for (const int error : {ENOTTY, EINVAL}) {
        m_Calls.failures = {{SPI_IOC_RD_MODE, error}};
        EXPECT_THAT(
            openFailure(),
            StartsWith("SPI Error: /dev/spidev9.1: dac: write of 8 bits at offset 7: not a spidev node. Errno: ("));
    }
    m_Calls.failures = {{SPI_IOC_RD_MODE, ESHUTDOWN}};
    EXPECT_THAT(openFailure(), HasSubstr("reading the mode failed. Errno: (108 - "));
}

TEST_F(SpidevBusTest, SettingsThatTheControllerRefusesFailTheOpen)
{
    EXPECT_THAT(openFailure({.mode = 0, .speedHz = 0}), HasSubstr("offset 7 refused: the speed must be above 0 Hz"));
    m_Calls.failures = {{SPI_IOC_WR_MODE, EINVAL}};
    EXPECT_THAT(openFailure({.mode = SPI_LSB_FIRST, .speedHz = 1}),
                HasSubstr("offset 7: setting mode 0x8 failed. Errno: (22 - "));
    m_Calls.failures = {{SPI_IOC_WR_BITS_PER_WORD, EINVAL}};
    EXPECT_THAT(openFailure(), HasSubstr(": setting a word size of 8 bits failed. Errno: (22 - "));
    m_Calls.failures = {{SPI_IOC_WR_MAX_SPEED_HZ, EINVAL}};
    EXPECT_THAT(openFailure(), HasSubstr(": setting a clock of 1000000 Hz failed. Errno: (22 - "));
}

TEST_F(SpidevBusTest, FailuresOfATransferNameAllThatIsKnown)
{
    m_Calls.messageError = {0, ESHUTDOWN};
    EXPECT_THAT(failureOf<SPIError>([&] { transfer(2); }),
                StartsWith("SPI Error: /dev/spidev9.1: dac: write of 8 bits at offset 7 failed. Errno: (108 - "));
    EXPECT_TRUE(m_Chip.frames.empty());
    m_Calls.shortBy = 1;
    EXPECT_THAT(failureOf<SPIError>([&] { transfer(5); }),
                HasSubstr("dac: write of 8 bits at offset 7 failed. The driver moved 4 of 5 bytes"));
    m_Calls.shortBy = 5; // as of a kernel that took the list of transfers for an empty one
    EXPECT_THAT(failureOf<SPIError>([&] { transfer(5); }), HasSubstr("The driver moved 0 of 5 bytes"));
}

TEST_F(SpidevBusTest, MessagesOverTheDriversLimitAreNotSent)
{
    transfer(4096);
    EXPECT_THAT(
        failureOf<SPIError>([&] { transfer(4097); }),
        HasSubstr("refused: a message of 4097 bytes is longer than the 4096 bytes that the driver moves at once"));
    EXPECT_EQ(m_Calls.messages, 1U);
}

TEST(SpidevBufferLimitTest, IsReadWhereTheDriverTellsIt)
{
    const TempFile file;
    const auto limitFor = [&](const char* text) {
        std::ofstream(file.path()) << text;
        return spidevBufferLimit(file.path());
    };
    EXPECT_EQ(limitFor("65536\n"), 65536U);
    EXPECT_EQ(limitFor("1000\n"), 896U); // whole DMA buffers only
    EXPECT_EQ(limitFor("0\n"), 4096U);
    EXPECT_EQ(limitFor("what\n"), 4096U);
    EXPECT_EQ(spidevBufferLimit("/nowhere"), 4096U);
}
