// SPI slaves that answer anything, or whose transfers fail, under accesses of every kind.

#include <osl/cpputils/assertion.h>
#include <osl/userspace_drivers/drivers/spi/max2871.h>
#include <osl/userspace_drivers/interfaces/spi/registerslave.h>

#include <algorithm>
#include <array>

using namespace Osl::Spi;

namespace {

/// Answers from the fuzzer's input, which also chooses the accesses; zeros behind its end.
class AnyBus : public ISpiBus
{
public:
    explicit AnyBus(std::span<const uint8_t> input) : m_Input(input), m_MaxBytes(8 + take(1)) {}

    uint32_t take(std::size_t bytes)
    {
        uint32_t value = 0;
        for (; bytes > 0 && hasInput(); --bytes, m_Input = m_Input.subspan(1))
            value = value << 8 | m_Input.front();
        return value;
    }
    bool hasInput() const { return !m_Input.empty(); }

    const std::string& device() const override { return m_Device; }
    std::size_t maxBytes() const override { return m_MaxBytes; }
    void setMode(uint32_t, const SpiAccess&) override {}
    void transfer(std::span<const SpiSegment> segments, const SpiAccess& access) override
    {
        if (take(1) == 0xFF)
            OSL_RAISE(SPIError, toString(access));
        std::size_t bytes = 0;
        for (const auto& [out, in] : segments) {
            OSL_ASSERT(out.empty() || in.empty() || out.size() == in.size());
            bytes += std::max(out.size(), in.size());
            std::generate(in.begin(), in.end(), [this] { return static_cast<uint8_t>(take(1)); });
        }
        OSL_ASSERT(bytes > 0 && bytes <= m_MaxBytes);
    }

private:
    std::span<const uint8_t> m_Input;
    std::size_t m_MaxBytes;
    std::string m_Device = "/dev/spi";
};

using Access = void (*)(SPISlaveIF& slave, uint32_t offset, uint32_t count);

constexpr std::array<Access, 5> ACCESSES{
    [](SPISlaveIF& slave, uint32_t at, uint32_t count) { OSL_ASSERT(slave.readBlock32(at, count).size() == count); },
    [](SPISlaveIF& slave, uint32_t at, uint32_t count) { OSL_ASSERT(slave.readBlock8(at, count).size() == count); },
    [](SPISlaveIF& slave, uint32_t at, uint32_t value) {
        slave.writeBlock32(at, {value, value});
    },
    [](SPISlaveIF& slave, uint32_t at, uint32_t value) { slave.write16(at, value); },
    [](SPISlaveIF& slave, uint32_t at, uint32_t value) { slave.write8(at, value); },
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size)
{
    AnyBus bus({data, size});
    RegisterSlave fpga(bus, FPGA_FRAMING, RegisterSlave::Unverified::ALLOW_WRITES);
    RegisterSlave dac(bus, MAX5868_FRAMING, RegisterSlave::Unverified::ALLOW_WRITES);
    Max2871 synthesiser(bus, {.way = Max2871::ReadBack::Way::NO_CS, .mux = {}}, [](auto) {});
    const std::array<SPISlaveIF*, 3> slaves{&fpga, &dac, &synthesiser};
    while (bus.hasInput()) {
        SPISlaveIF& slave = *slaves.at(bus.take(1) % slaves.size());
        const uint32_t choice = bus.take(1);
        const uint32_t offset = bus.take(choice < 0x80 ? 1 : 4);
        const uint32_t count = bus.take(choice < 0xC0 ? 1 : 4);
        try {
            ACCESSES.at(choice % ACCESSES.size())(slave, offset, count);
        } catch (const SPIError&) {
        }
    }
    return 0;
}
