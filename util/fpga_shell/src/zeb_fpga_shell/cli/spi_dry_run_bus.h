#pragma once

#include <osl/userspace_drivers/interfaces/spi/ispibus.h>

#include <ostream>
#include <string>

namespace Osl::Utils {

/// Shows what would go over the bus, one line a message, and sends nothing.
class SpiDryRunBus : public Spi::ISpiBus
{
public:
    /// `out` must outlive the bus.
    SpiDryRunBus(std::string device, std::size_t maxBytes, std::ostream& out);

    const std::string& device() const override { return m_Device; }
    std::size_t maxBytes() const override { return m_MaxBytes; }
    void setMode(uint32_t mode, const Spi::SpiAccess& access) override;
    void transfer(std::span<const Spi::SpiSegment> segments, const Spi::SpiAccess& access) override;
    bool answers() const override { return false; }

private:
    std::string m_Device;
    std::size_t m_MaxBytes;
    std::ostream& m_Out;
};

} // namespace Osl::Utils
