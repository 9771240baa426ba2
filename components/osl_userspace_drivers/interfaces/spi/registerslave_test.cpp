#include <osl/testing/failure_of.h>
#include <osl/testing/fake_spidev.h>
#include <osl/userspace_drivers/interfaces/spi/registerslave.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace Osl::Spi;
using namespace Osl::SpiModels;
using namespace Osl::Testing;
using testing::ElementsAre;
using testing::HasSubstr;
using Unverified = RegisterSlave::Unverified;

namespace {

/// One chip behind the whole road: slave, spidev bus, kernel checks, chip.
template <class Chip, class Word, std::size_t SIZE>
struct Position
{
    RegisterSlave slave(const Framing& framing, Unverified unverified = Unverified::ALLOW_WRITES)
    {
        return {bus, framing, unverified};
    }

    std::vector<Word> memory = std::vector<Word>(SIZE);
    std::vector<std::string> log;
    Chip chip{memory, [this](const std::string& line) { log.push_back(line); }};
    FakeSpidev calls{chip};
    SpidevBus bus{"/dev/spidev0.2", {.mode = 0, .speedHz = 1'000'000}, {}, 4096, calls};
};

using Dac = Position<Max5868Chip, uint8_t, Max5868Chip::BYTES>;
using FpgaPort = Position<FpgaPortChip, uint32_t, FpgaPortChip::WORDS>;

Framing with(Framing framing, const std::function<void(Framing&)>& change)
{
    change(framing);
    return framing;
}

} // namespace

TEST(RegisterSlaveTest, DacTakesOneRegisterAFrame)
{
    Dac dac;
    RegisterSlave slave = dac.slave(MAX5868_FRAMING);
    slave.writeBlock8(0x7E, {0x12, 0x34});
    EXPECT_THAT(dac.log, ElementsAre("write 0x7e 0x12", "write 0x7f 0x34"));
    EXPECT_THAT(slave.readBlock8(0x7D, 3), ElementsAre(0, 0x12, 0x34));
    EXPECT_EQ(slave.read8(0x7F), 0x34);
}

TEST(RegisterSlaveTest, WideAccessesTakeRegistersInTheOrderOfTheFraming)
{
    Dac dac;
    RegisterSlave slave = dac.slave(MAX5868_FRAMING);
    slave.write32(1, 0x44332211);
    EXPECT_THAT(dac.log, ElementsAre("write 0x04 0x11", "write 0x05 0x22", "write 0x06 0x33", "write 0x07 0x44"));
    EXPECT_THAT(slave.readBlock16(2, 2), ElementsAre(0x2211, 0x4433));
    const Framing big = with(MAX5868_FRAMING, [](Framing& f) { f.wideAccess = WideAccess::BIG; });
    EXPECT_EQ(dac.slave(big).read32(1), 0x11223344U);
    dac.slave(big).write16(0, 0x1ABCD);
    EXPECT_EQ(dac.memory[0], 0xAB);
    const Framing refusing = with(MAX5868_FRAMING, [](Framing& f) { f.wideAccess = WideAccess::REFUSE; });
    EXPECT_THAT(failureOf<SPIError>([&] { dac.slave(refusing).read16(0); }),
                HasSubstr("max5868: read of 16 bits at offset 0 refused: only accesses of 8 bits are allowed"));
}

TEST(RegisterSlaveTest, FpgaPortSingleAndBurst)
{
    FpgaPort port;
    port.slave(FPGA_FRAMING).writeBlock32(0xFFFE, {0xDEADBEEF, 1});
    EXPECT_THAT(port.log, ElementsAre("write 0xfffe 0xdeadbeef", "write 0xffff 0x00000001"));
    EXPECT_EQ(port.calls.messages, 2U);
    const Framing burst = with(FPGA_FRAMING, [](Framing& f) { f.burst = true; });
    EXPECT_THAT(port.slave(burst).readBlock32(0xFFFE, 2), ElementsAre(0xDEADBEEF, 1));
    EXPECT_EQ(port.calls.messages, 3U);
}

TEST(RegisterSlaveTest, BurstsAreSplitAtTheDriversLimit)
{
    FpgaPort port;
    const Framing burst = with(FPGA_FRAMING, [](Framing& f) { f.burst = true; });
    std::vector<uint32_t> values(3000);
    for (uint32_t i = 0; i < values.size(); ++i)
        values[i] = i * 0x01000193;
    RegisterSlave slave = port.slave(burst);
    slave.writeBlock32(16, values);
    EXPECT_EQ(port.calls.messages, 3U);
    EXPECT_EQ(slave.readBlock32(16, 3000), values);
    EXPECT_EQ(port.calls.messages, 6U);
    EXPECT_EQ(port.memory[15] | port.memory[3016], 0U);

    port.calls.messages = 0;
    port.calls.messageError = {1, EIO};
    EXPECT_THAT(failureOf<SPIError>([&] { slave.readBlock32(16, 3000); }),
                HasSubstr("fpga: read of 32 bits at offset 1040 failed. Errno: (5 - "));
}

TEST(RegisterSlaveTest, BytesOnTheWireFollowTheFraming)
{
    class Recorder : public ISpiBus
    {
    public:
        const std::string& device() const override { return m_Device; }
        std::size_t maxBytes() const override { return 4096; }
        void setMode(uint32_t, const SpiAccess&) override {}
        void transfer(std::span<const SpiSegment> segments, const SpiAccess&) override
        {
            sent.assign(segments[0].out.begin(), segments[0].out.end());
            if (segments.size() > 1)
                std::fill(segments[1].in.begin(), segments[1].in.end(), m_Next++);
        }
        std::vector<uint8_t> sent;

    private:
        std::string m_Device = "recorder";
        uint8_t m_Next = 1;
    };
    Recorder bus;
    const Framing framing = with(FPGA_FRAMING, [](Framing& f) {
        f.addressBits = 32;
        f.dataBits = 16;
        f.dummyBytes = 2;
        f.byteOrder = ByteOrder::LITTLE;
    });
    RegisterSlave slave(bus, framing, Unverified::ALLOW_WRITES);
    slave.write16(0xFFFFFFFF, 0x1234);
    EXPECT_THAT(bus.sent, ElementsAre(0x02, 0xFF, 0xFF, 0xFF, 0xFF, 0x34, 0x12));
    EXPECT_EQ(slave.read32(0x40), 0x02020101U);
    EXPECT_THAT(bus.sent, ElementsAre(0x03, 0, 0, 0, 0x81, 0, 0));
}

TEST(RegisterSlaveTest, RefusalsSendNothing)
{
    FpgaPort port;
    Dac dac;
    const auto refusal = [&](const auto& step) {
        std::string text = failureOf<SPIError>(step);
        EXPECT_EQ(port.calls.messages + dac.calls.messages, 0U) << text;
        return text;
    };
    RegisterSlave fpga = port.slave(FPGA_FRAMING);
    EXPECT_THAT(refusal([&] { fpga.read8(0); }),
                HasSubstr("/dev/spidev0.2: fpga: read of 8 bits at offset 0 refused: a register has 32 bits"));
    EXPECT_THAT(refusal([&] { fpga.write16(4, 1); }), HasSubstr("write of 16 bits at offset 4 refused"));
    EXPECT_THAT(refusal([&] { fpga.readBlock32(0xFFFF, 2); }),
                HasSubstr("at offset 65535 refused: 2 words from there on pass the end of the 65536 registers"));
    EXPECT_THAT(refusal([&] { dac.slave(MAX5868_FRAMING).readBlock32(0x40000000, 1); }), HasSubstr("pass the end"));
    EXPECT_THAT(refusal([&] { dac.slave(MAX5868_FRAMING).readBlock8(0, 0xFFFFFFFF); }), HasSubstr("pass the end"));
    EXPECT_THAT(refusal([&] { dac.slave(MAX5868_FRAMING, Unverified::REFUSE_WRITES).write8(0, 1); }),
                HasSubstr("max5868: write of 8 bits at offset 0 refused: nobody has verified"));
}

TEST(RegisterSlaveTest, AbsentChipReadsAsOnes)
{
    AbsentChip chip;
    FakeSpidev calls(chip);
    SpidevBus bus("/dev/spidev0.0", {.mode = 0, .speedHz = 1'000'000}, {}, 4096, calls);
    EXPECT_EQ(RegisterSlave(bus, FPGA_FRAMING).read32(0), 0xFFFFFFFFU);
}

TEST(RegisterSlaveTest, FramingsOutOfRangeAreRefused)
{
    Dac dac;
    const auto refusal = [&](const std::function<void(Framing&)>& change) {
        return failureOf<SPIError>([&] { dac.slave(with(MAX5868_FRAMING, change)); });
    };
    EXPECT_THAT(refusal([](Framing& f) { f.addressBits = 8; }), HasSubstr("8 address bits behind a code of 1 bits"));
    EXPECT_THAT(refusal([](Framing& f) { f.addressBits = 39; }), HasSubstr("at most 32"));
    EXPECT_THAT(refusal([](Framing& f) { f.addressBits = 0xFFFFFFFF; }), HasSubstr("at most 32"));
    EXPECT_THAT(refusal([](Framing& f) { f.dataBits = 24; }), HasSubstr("registers of 24 bits are not known"));
    EXPECT_THAT(refusal([](Framing& f) { f.dummyBytes = 17; }), HasSubstr("17 dummy bytes are not in 0..16"));
    EXPECT_THAT(refusal([](Framing& f) { f.readCode = 2; }), HasSubstr("must differ and fit 1 bits"));
    EXPECT_THAT(refusal([](Framing& f) { f.readCode = 0; }), HasSubstr("must differ"));
    EXPECT_EQ(refusal([](Framing& f) { f.addressBits = 15; }), "nothing raised");
}
