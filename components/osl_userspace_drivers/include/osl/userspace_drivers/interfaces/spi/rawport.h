#pragma once

#include <osl/userspace_drivers/interfaces/spi/spislaveif.h>

namespace Osl::Spi {

/// A slave position without any framing, for bringing a board up: bytes out, bytes in, at offset 0. A block is one
/// pulse of the chip select, so it cannot be longer than one message.
class RawPort final : public SPISlaveIF
{
public:
    static constexpr std::string_view NAME = "raw";

    /// The chip at the other end may take whatever is clocked, even the zeros of a read, for a write; so the user has
    /// to have said that he means it.
    enum class Permission { REFUSE, TRANSFER };

    RawPort(ISpiBus& bus, Permission permission) : SPISlaveIF(bus, NAME), m_Permission(permission) {}

    unsigned registerBits() const override { return 8; }
    void checkRead(uint32_t offset, uint32_t count, unsigned width) const override;

    /// Sends `bytes` and returns those that came back meanwhile.
    std::vector<uint8_t> exchange(uint32_t offset, const std::vector<uint8_t>& bytes);

private:
    std::vector<uint32_t> readWords(uint32_t offset, uint32_t count, unsigned width) override;
    void writeWords(uint32_t offset, const std::vector<uint32_t>& values, unsigned width) override;

    void check(const SpiAccess& access, std::size_t bytes) const;

    Permission m_Permission;
};

} // namespace Osl::Spi
