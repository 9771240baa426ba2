#pragma once

#include <osl/userspace_drivers/interfaces/imemif.h>
#include <osl/userspace_drivers/interfaces/spi/ispibus.h>

#include <string>
#include <string_view>

namespace Osl::Spi {

/// The registers of an SPI slave as device memory. Every operation raises SPIError, naming device, slave, operation,
/// width and offset. What is refused has not touched the bus; a transfer that fails in the middle of a block leaves
/// what was sent before it done, the named offset being where it failed.
class SPISlaveIF : public Drivers::IMemIf
{
public:
    uint32_t read32(uint32_t offset) final { return readWords(offset, 1, 32).front(); }
    uint16_t read16(uint32_t offset) final { return static_cast<uint16_t>(readWords(offset, 1, 16).front()); }
    uint8_t read8(uint32_t offset) final { return static_cast<uint8_t>(readWords(offset, 1, 8).front()); }
    void write32(uint32_t offset, uint32_t value) final { writeWords(offset, {value}, 32); }
    void write16(uint32_t offset, uint32_t value) final { writeWords(offset, {value & 0xFFFF}, 16); }
    void write8(uint32_t offset, uint32_t value) final { writeWords(offset, {value & 0xFF}, 8); }
    std::vector<uint32_t> readBlock32(uint32_t offset, uint32_t count) final { return readWords(offset, count, 32); }
    std::vector<uint16_t> readBlock16(uint32_t offset, uint32_t count) final;
    std::vector<uint8_t> readBlock8(uint32_t offset, uint32_t count) final;
    void writeBlock32(uint32_t offset, const std::vector<uint32_t>& values) final { writeWords(offset, values, 32); }
    void writeBlock16(uint32_t offset, const std::vector<uint16_t>& values) final;
    void writeBlock8(uint32_t offset, const std::vector<uint8_t>& values) final;

    /// Width in bits in which one access is one register.
    virtual unsigned registerBits() const = 0;

    /// Raises SPIError when a read of `count` words of `width` bits from `offset` on would be refused.
    virtual void checkRead(uint32_t offset, uint32_t count, unsigned width) const = 0;

protected:
    /// `bus` must outlive the slave; `name` is what messages call it.
    SPISlaveIF(ISpiBus& bus, std::string_view name) : m_Bus(bus), m_Name(name) {}

    virtual std::vector<uint32_t> readWords(uint32_t offset, uint32_t count, unsigned width) = 0;
    virtual void writeWords(uint32_t offset, const std::vector<uint32_t>& values, unsigned width) = 0;

    SpiAccess reading(uint32_t offset, unsigned width) const { return {m_Name, "read", offset, width}; }
    SpiAccess writing(uint32_t offset, unsigned width) const { return {m_Name, "write", offset, width}; }
    [[noreturn]] void refuse(const SpiAccess& access, const std::string& reason) const;

    ISpiBus& m_Bus;

private:
    std::string m_Name;
};

} // namespace Osl::Spi
