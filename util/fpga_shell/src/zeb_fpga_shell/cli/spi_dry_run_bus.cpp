#include "zeb_fpga_shell/cli/spi_dry_run_bus.h"

#include <fmt/format.h>

#include <utility>

namespace Osl::Utils {

SpiDryRunBus::SpiDryRunBus(std::string device, std::size_t maxBytes, std::ostream& out)
    : m_Device(std::move(device)),
      m_MaxBytes(maxBytes),
      m_Out(out)
{
}

void SpiDryRunBus::setMode(uint32_t mode, const Spi::SpiAccess&) { m_Out << fmt::format("mode {:#x}\n", mode); }

void SpiDryRunBus::transfer(std::span<const Spi::SpiSegment> segments, const Spi::SpiAccess&)
{
    std::string line;
    std::size_t in = 0;
    for (const Spi::SpiSegment& segment : segments) {
        for (const uint8_t byte : segment.out)
            line += fmt::format("{}{:#04x}", line.empty() ? "send " : " ", byte);
        in += segment.in.size();
    }
    if (in != 0)
        line += fmt::format("{}receive {} bytes", line.empty() ? "" : ", ", in);
    m_Out << line << '\n';
}

} // namespace Osl::Utils
