#include <osl/testing/failure_of.h>
#include <osl/testing/fake_spidev.h>
#include <osl/userspace_drivers/drivers/spi/max2871.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace Osl::Spi;
using namespace Osl::SpiModels;
using namespace Osl::Testing;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using Way = Max2871::ReadBack::Way;
using Words = std::vector<uint32_t>;

namespace {

/// A synthesiser behind the whole road: slave, spidev bus, kernel checks, chip.
class Max2871Test : public testing::Test
{
protected:
    static constexpr uint32_t STATUS = Max2871Chip::RESET[6];
    static constexpr uint32_t MUX_OFF_R2 = Max2871Chip::RESET[2];
    static constexpr uint32_t MUX_OFF_R5 = Max2871Chip::RESET[5];
    static constexpr Max2871::ReadBack::MuxWords MUX{MUX_OFF_R2, MUX_OFF_R5};

    Max2871 slave(const Max2871::ReadBack& readBack = {})
    {
        return {m_Bus, readBack,
                [this](std::chrono::milliseconds time) { m_Log.push_back("wait " + std::to_string(time.count())); }};
    }

    std::string refusal(const std::function<void(Max2871&)>& step, const Max2871::ReadBack& readBack = {})
    {
        std::string text = failureOf<SPIError>([&] {
            Max2871 part = slave(readBack);
            step(part);
        });
        EXPECT_EQ(m_Calls.messages, 0U) << text;
        return text;
    }

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

TEST_F(Max2871Test, EachWordIsLatchedByItselfInDescendingOrder)
{
    slave().writeBlock32(1, {0x20000009, 0x00004042, 0x0000000B});
    EXPECT_THAT(m_Log, ElementsAre("latch 3 0x0000000b", "latch 2 0x00004042", "latch 1 0x20000009"));
    m_Log.clear();
    slave().writeAndLatch(4, {0x6180B23C}, 0x007D0000);
    EXPECT_THAT(m_Log, ElementsAre("latch 4 0x6180b23c", "latch 0 0x007d0000"));
}

TEST_F(Max2871Test, StartUpSendsTwoPassesWithTheirWaits)
{
    slave().startUp({0x10, 0x11, 0x12, 0x13, 0x14, 0x15});
    EXPECT_THAT(m_Log, ElementsAre("latch 5 0x00000015", "wait 20", "latch 4 0x00000014", "latch 3 0x00000013",
                                   "latch 2 0x00000012", "latch 1 0x00000011", "latch 0 0x00000010", "wait 20",
                                   "latch 5 0x00000015", "latch 4 0x00000014", "latch 3 0x00000013",
                                   "latch 2 0x00000012", "latch 1 0x00000011", "latch 0 0x00000010"));
}

TEST_F(Max2871Test, WhatCannotBeWrittenIsRefusedBeforeAnythingIsSent)
{
    EXPECT_THAT(refusal([](auto& part) { part.write32(6, 6); }),
                HasSubstr("/dev/spidev0.1: max2871: write of 32 bits at offset 6 refused: register 6 is read-only"));
    EXPECT_THAT(refusal([](auto& part) { part.writeBlock32(5, Words{5, 6}); }), HasSubstr("register 6 is read-only"));
    for (const uint32_t offset : {7U, 0xFFFFFFFFU})
        EXPECT_THAT(refusal([&](auto& part) { part.write32(offset, 7); }), HasSubstr("only registers 0 to 5 can be"));
    EXPECT_THAT(refusal([](auto& part) {
                    part.writeBlock32(0, Words{0, 1, 2, 4});
                }),
                HasSubstr("write of 32 bits at offset 3 refused: the word 0x00000004 addresses register 4, not 3"));
    EXPECT_THAT(refusal([](auto& part) { part.writeAndLatch(4, Words{4}, 9); }),
                HasSubstr("at offset 0 refused: the word 0x00000009 addresses register 1, not 0"));
    EXPECT_THAT(refusal([](auto& part) { part.write16(1, 1); }), HasSubstr("write of 16 bits at offset 1 refused: a "));
    EXPECT_THAT(refusal([](auto& part) { part.writeBlock8(1, {1}); }),
                HasSubstr("write of 8 bits at offset 1 refused"));
    EXPECT_THAT(refusal([](auto& part) { part.startUp(Words{0, 1, 2}); }), HasSubstr("takes the 6 words"));
    EXPECT_THAT(refusal([](auto& part) { part.startUp(Words{0, 1, 2, 3, 4, 6}); }), HasSubstr("addresses register 6"));
}

TEST_F(Max2871Test, WhatCannotBeReadIsRefusedBeforeAnythingIsSent)
{
    const Max2871::ReadBack csLow{.way = Way::CS_LOW, .mux = {}};
    EXPECT_THAT(refusal([](auto& part) { part.read32(6); }), HasSubstr("can disturb a running part"));
    EXPECT_THAT(refusal([](auto& part) { part.read32(5); }, csLow), HasSubstr("register 5 is write-only"));
    EXPECT_THAT(refusal([](auto& part) { part.readBlock32(6, 2); }, csLow), HasSubstr("no register behind 6"));
    EXPECT_THAT(refusal([](auto& part) { part.read32(7); }, csLow), HasSubstr("no register behind 6"));
    EXPECT_THAT(refusal([](auto& part) { part.read8(6); }, csLow), HasSubstr("read of 8 bits at offset 6 refused"));
    EXPECT_THAT(refusal([](auto&) {}, {.way = Way::CS_LOW, .mux = {{MUX_OFF_R5, MUX_OFF_R2}}}),
                HasSubstr("addresses register 5, not 2"));
}

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
            EXPECT_THAT(m_Log, testing::Each("latch 6 0x00000006"));
            EXPECT_EQ(m_Calls.node.mode(), 0U);
        }
    }
}

TEST_F(Max2871Test, TheUnsafeVariantIsRefused)
{
    const Max2871::ReadBack unsafe{.way = Way::CS_LOW, .sampleFalling = true, .mux = {}};
    EXPECT_THAT(refusal([](auto& part) { part.read32(6); }, unsafe),
                HasSubstr("only the rising edge (mode 0) is safe"));
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
    EXPECT_THAT(failureOf<SPIError>([&] { slave(csLow).read32(6); }), // MUX drives nothing
                HasSubstr("failed: 0xffffffff came back, with address bits 7 instead of 6."));
    switchMux();
    m_Memory[6] = STATUS ^ 2;
    EXPECT_THAT(failureOf<SPIError>([&] { slave(csLow).read32(6); }), HasSubstr("with address bits 4 instead of 6."));
    EXPECT_THAT(m_Log, testing::Each("latch 6 0x00000006"));
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

TEST(Max2871FieldTest, FieldsAreSetByName)
{
    EXPECT_EQ(Max2871::withField(0, 0x007D0000, "N", 65535), 0x7FFF8000U);
    EXPECT_EQ(Max2871::withField(4, 4, "BS98", 3), 0x03000004U);
    EXPECT_THAT(failureOf<SPIError>([] { Max2871::withField(0, 0, "N", 65536); }),
                HasSubstr("65536 is not in 0..65535, which field N of register 0 holds"));
    EXPECT_THAT(failureOf<SPIError>([] { Max2871::withField(0, 0, "M", 1); }),
                HasSubstr("register 0 has no field M; it has INT, N, FRAC"));
    EXPECT_THAT(failureOf<SPIError>([] { Max2871::withField(7, 0, "M", 1); }), HasSubstr("it has none"));
}
