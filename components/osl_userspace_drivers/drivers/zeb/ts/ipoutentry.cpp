#include <osl/userspace_drivers/drivers/zeb/ts/ipoutentry.h>

namespace Osl::Drivers::Zeb {

void IpOutEntry::setMacAddress(const CppUtil::MacAdrContainer& macAddress)
{
    create<"MAC0", "MAC1", "MAC2", "MAC3", "MAC4", "MAC5">(macAddress.octet(0), macAddress.octet(1),
                                                           macAddress.octet(2), macAddress.octet(3),
                                                           macAddress.octet(4), macAddress.octet(5));
}

CppUtil::MacAdrContainer IpOutEntry::getMacAddress() const
{
    return CppUtil::MacAdrContainer(
        std::vector<uint8_t>{get<"MAC0">(), get<"MAC1">(), get<"MAC2">(), get<"MAC3">(), get<"MAC4">(), get<"MAC5">()});
}

} // namespace Osl::Drivers::Zeb
