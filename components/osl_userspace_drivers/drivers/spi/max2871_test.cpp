#include <osl/testing/fake_spidev.h>
#include <osl/testing/test.h>
#include <osl/userspace_drivers/drivers/spi/max2871.h>

using namespace Osl::Spi;
using namespace Osl::SpiModels;
using Way = Max2871::ReadBack::Way;

namespace {

/// A synthesiser behind the whole road: slave, spidev bus, kernel checks, chip.
class Max2871Test : public testing::Test
{
protected:
    static constexpr uint32_t STATUS = Max2871Chip::RESET[6];
    static constexpr uint32_t MUX_OFF_R2 = Max2871Chip::RESET[2];
    static constexpr uint32_t MUX_OFF_R5 = Max2871Chip::RESET[5];
    static constexpr Max2871::ReadBack::MuxWords MUX{MUX_OFF_R2, MUX_OFF_R5};

    Max2871 slave(const Max2871::ReadBack& readBack = {}) { return {m_Bus, readBack, {}}; }

    /// Switches MUX to register 6, as a board whose set-up does that leaves it.
    void switchMux()
    {
        m_Memory[2] = MUX_OFF_R2 | 4U << 26;
        m_Memory[5] = MUX_OFF_R5 | 1U << 18;
    }

    std::array<uint32_t, Max2871Chip::WORDS> m_Memory = Max2871Chip::RESET;
    std::vector<std::string> m_Log;
    Max2871Chip m_Chip{m_Memory, [this](const std::string& line) { m_Log.push_back(line); }};
    FakeSpidev m_Calls{m_Chip};
    SpidevBus m_Bus{"/dev/spidev0.1", {.mode = 0, .speedHz = 1'000'000}, {}, 4096, m_Calls};
};

} // namespace

TEST_F(Max2871Test, ReadsTheStatusInEveryVariantAndLatchesNothingElse)
{
    switchMux();
    for (const Max2871::ReadBack& readBack : {Max2871::ReadBack{.way = Way::NO_CS, .mux = {}},
                                              Max2871::ReadBack{.way = Way::NO_CS, .sampleFalling = true, .mux = {}},
                                              Max2871::ReadBack{.way = Way::CS_LOW, .mux = {}}}) {
        for (const uint32_t status : {STATUS, 0x00000006U, 0xFFFFFFFEU, 0x80000006U}) {
            m_Memory[6] = status;
            m_Log.clear();
            EXPECT_EQ(slave(readBack).read32(6), status);
            EXPECT_THAT(m_Log, Each("latch 6 0x00000006"));
            EXPECT_EQ(m_Calls.node.mode(), 0U);
        }
    }
}

TEST_F(Max2871Test, SwitchesMuxAndBackOnRequest)
{
    EXPECT_EQ(slave({.way = Way::CS_LOW, .mux = MUX}).read32(6), STATUS);
    EXPECT_THAT(m_Log, ElementsAre("latch 5 0x00440005", "latch 2 0x10004042", "latch 6 0x00000006",
                                   "latch 6 0x00000006", "latch 2 0x00004042", "latch 5 0x00400005"));
}

TEST_F(Max2871Test, SwitchesMuxBackWhenTheReadFailsAnywhere)
{
    for (std::size_t failing = 0; failing < 4; ++failing) {
        m_Calls.messages = 0;
        m_Calls.messageError = {failing, EIO};
        EXPECT_THAT(failureOf<SPIError>([&] { slave({.way = Way::NO_CS, .mux = MUX}).read32(6); }),
                    HasSubstr("max2871: read of 32 bits at offset 6 failed. Errno: (5 - "));
        EXPECT_EQ(m_Memory[2], MUX_OFF_R2) << failing;
        EXPECT_EQ(m_Memory[5], MUX_OFF_R5) << failing;
        EXPECT_EQ(m_Calls.node.mode(), 0U) << failing;
    }
}

TEST_F(Max2871Test, SaysSoWhenMuxCouldNotBeSwitchedBack)
{
    m_Calls.failures = {{SPI_IOC_MESSAGE(1), EIO}};
    EXPECT_THAT(failureOf<SPIError>([&] { slave({.way = Way::CS_LOW, .mux = MUX}).read32(6); }),
                HasSubstr("and the part is left switched for the read: "));
}

TEST_F(Max2871Test, AnswersWithoutTheTagAreAnError)
{
    const Max2871::ReadBack csLow{.way = Way::CS_LOW, .mux = {}};
    switchMux();
    m_Memory[6] = STATUS ^ 2;
    EXPECT_THAT(failureOf<SPIError>([&] { slave(csLow).read32(6); }), HasSubstr("with address bits 4 instead of 6."));
    EXPECT_THAT(m_Log, Each("latch 6 0x00000006"));
}

TEST_F(Max2871Test, ControllerWithoutTheModeIsFoundOutBeforeAnythingIsSent)
{
    FakeSpidev calls(m_Chip, SPI_MODE_3);
    SpidevBus bus("/dev/spidev0.1", {.mode = 0, .speedHz = 1'000'000}, {}, 4096, calls);
    Max2871 part(bus, {.way = Way::NO_CS, .mux = MUX}, {});
    EXPECT_THAT(failureOf<SPIError>([&] { part.read32(6); }),
                HasSubstr("max2871: read of 32 bits at offset 6: setting mode 0x40 failed. Errno: (22 - "));
    EXPECT_THAT(m_Log, IsEmpty());
}
