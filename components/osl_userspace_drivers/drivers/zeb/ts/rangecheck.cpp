#include <osl/userspace_drivers/drivers/drivererror.h>
#include <osl/userspace_drivers/drivers/zeb/ts/rangecheck.h>

#include <fmt/format.h>

namespace Osl::Drivers::Zeb {

uint32_t inRange(uint32_t value, uint32_t min, uint32_t max, std::string_view text, const char* file, int line)
{
    if (value < min || value > max)
        throw ZebDriverError(fmt::format("{}{})", text, value), file, line);
    return value;
}

} // namespace Osl::Drivers::Zeb
