#include <osl/userspace_drivers/interfaces/imemif.h>

#include <array>

namespace Osl::Drivers {

std::string_view toString(MemAccessType type)
{
    static constexpr std::array<std::string_view, 6> NAMES{"R32", "R16", "R8", "W32", "W16", "W8"};
    const auto index = static_cast<std::size_t>(type);
    return index < NAMES.size() ? NAMES[index] : "undefined";
}

} // namespace Osl::Drivers
