#include <osl/testing/fake_spidev.h>
#include <osl/testing/test.h>
#include <osl/userspace_drivers/interfaces/spi/registerslave.h>

using namespace Osl::Spi;
using namespace Osl::SpiModels;

namespace {

/// The FPGA's port behind the whole road: slave, spidev bus, kernel checks, chip.
struct FpgaPort
{
    RegisterSlave slave(const std::function<void(Framing&)>& change)
    {
        Framing framing = FPGA_FRAMING;
        change(framing);
        return {bus, framing, RegisterSlave::Unverified::ALLOW_WRITES};
    }

    std::vector<uint32_t> memory = std::vector<uint32_t>(FpgaPortChip::WORDS);
    FpgaPortChip chip{memory, [](const std::string&) {}};
    FakeSpidev calls{chip};
    SpidevBus bus{"/dev/spidev0.2", {.mode = 0, .speedHz = 1'000'000}, {}, 4096, calls};
};

} // namespace

TEST(RegisterSlaveTest, BurstsAreSplitAtTheDriversLimit)
{
    FpgaPort port;
    std::vector<uint32_t> values(3000);
    for (uint32_t i = 0; i < values.size(); ++i)
        values[i] = i * 0x01000193;
    RegisterSlave slave = port.slave([](Framing& framing) { framing.burst = true; });
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

TEST(RegisterSlaveTest, ReadsPutTheirBytesAndRegistersInTheOrderOfTheFraming)
{
    // The chip takes a frame's data for words of 32 bits, of which registers of 16 bits get the first half.
    FpgaPort port;
    port.memory[0x80] = 0x12340000;
    port.memory[0x81] = 0x56780000;
    const auto read32 = [&](ByteOrder byteOrder, WideAccess wideAccess) {
        RegisterSlave slave = port.slave([=](Framing& framing) {
            framing.dataBits = 16;
            framing.byteOrder = byteOrder;
            framing.wideAccess = wideAccess;
        });
        return slave.read32(0x40);
    };
    EXPECT_EQ(read32(ByteOrder::BIG, WideAccess::LITTLE), 0x56781234U);
    EXPECT_EQ(read32(ByteOrder::LITTLE, WideAccess::LITTLE), 0x78563412U);
    EXPECT_EQ(read32(ByteOrder::BIG, WideAccess::BIG), 0x12345678U);
}
