#include <osl/userspace_drivers/interfaces/spi/ispibus.h>

#include <fmt/format.h>

namespace Osl::Spi {

std::string toString(const SpiAccess& access)
{
    return fmt::format("{}: {} of {} bits at offset {}", access.slave, access.operation, access.width, access.offset);
}

} // namespace Osl::Spi
