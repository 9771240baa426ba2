#include <osl/userspace_drivers/drivers/zeb/ts/ipinentry.h>

namespace Osl::Drivers::Zeb {

uint32_t IpInEntry::parsed(const std::string& ipAddress, std::string_view refusal)
{
    try {
        return CppUtil::IpAdrContainer(ipAddress).value();
    } catch (const CppUtil::ParsingError&) {
        refuse(refusal, ipAddress);
    }
}

} // namespace Osl::Drivers::Zeb
