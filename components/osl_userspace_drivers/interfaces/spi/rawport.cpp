#include <osl/userspace_drivers/interfaces/spi/rawport.h>

#include <fmt/format.h>

namespace Osl::Spi {

void RawPort::check(const SpiAccess& access, std::size_t bytes) const
{
    if (access.width != registerBits())
        refuse(access, "raw transfers are in bytes (8 bits)");
    if (access.offset != 0)
        refuse(access, "raw transfers have no addresses, only offset 0");
    if (bytes > m_Bus.maxBytes())
        refuse(access, fmt::format("{} bytes do not fit one message of the driver ({} bytes), and more would release "
                                   "the chip select",
                                   bytes, m_Bus.maxBytes()));
    if (m_Permission == Permission::REFUSE && m_Bus.answers())
        refuse(access, "the chip may take any bytes for a write; \"force\" transfers anyway, \"dry_run\" "
                       "shows the bytes");
}

void RawPort::checkRead(uint32_t offset, uint32_t count, unsigned width) const { check(reading(offset, width), count); }

std::vector<uint32_t> RawPort::readWords(uint32_t offset, uint32_t count, unsigned width)
{
    check(reading(offset, width), count);
    std::vector<uint8_t> in(count);
    const SpiSegment frame{{}, in};
    if (count != 0)
        m_Bus.transfer({&frame, 1}, reading(offset, width));
    return {in.begin(), in.end()};
}

void RawPort::writeWords(uint32_t offset, const std::vector<uint32_t>& values, unsigned width)
{
    check(writing(offset, width), values.size());
    std::vector<uint8_t> out;
    for (const uint32_t value : values)
        out.push_back(static_cast<uint8_t>(value));
    const SpiSegment frame{out, {}};
    if (!out.empty())
        m_Bus.transfer({&frame, 1}, writing(offset, width));
}

std::vector<uint8_t> RawPort::exchange(uint32_t offset, const std::vector<uint8_t>& bytes)
{
    check(writing(offset, registerBits()), bytes.size());
    std::vector<uint8_t> in(bytes.size());
    const SpiSegment frame{bytes, in};
    if (!bytes.empty())
        m_Bus.transfer({&frame, 1}, writing(offset, registerBits()));
    return in;
}

} // namespace Osl::Spi
