#include <osl/userspace_drivers/drivers/drivererror.h>
#include <osl/userspace_drivers/drivers/zeb/ts/ipoutentry.h>

#include <tuple>

namespace Osl::Drivers::Zeb {

IpOutEntry::IpOutEntry(uint32_t tsoIdx)
{
    setStuffing();
    setTSOidx(tsoIdx);
}

IpOutEntry::IpOutEntry(uint32_t tsoIdx, const CppUtil::MacAdrContainer& macAddress,
                       const CppUtil::IpAdrContainer& ipAddress, uint32_t udpPort, bool rtp, bool enabled)
{
    setTSOidx(tsoIdx);
    setMacAddress(macAddress);
    setIpAddress(ipAddress);
    setUdpPort(udpPort);
    setRtp(rtp);
    setEnabled(enabled);
}

void IpOutEntry::setStuffing()
{
    setTSOidx(255);
    setMacAddress(CppUtil::MacAdrContainer(std::vector<uint8_t>(CppUtil::MacAdrContainer::OCTETS)));
    setIpAddress(CppUtil::IpAdrContainer(0));
    setUdpPort(65535);
    setRtp(false);
    setEnabled(false);
}

void IpOutEntry::setTSOidx(uint32_t tsoIdx)
{
    if (tsoIdx > 255)
        OSL_RAISE(ZebDriverError, "TSOIdx out of range");
    m_TSOidx = static_cast<uint8_t>(tsoIdx);
}

void IpOutEntry::setMacAddress(const CppUtil::MacAdrContainer& macAddress)
{
    setValue<F::MAC0>(macAddress.octet(0));
    setValue<F::MAC1>(macAddress.octet(1));
    setValue<F::MAC2>(macAddress.octet(2));
    setValue<F::MAC3>(macAddress.octet(3));
    setValue<F::MAC4>(macAddress.octet(4));
    setValue<F::MAC5>(macAddress.octet(5));
}

void IpOutEntry::setUdpPort(uint32_t udpPort)
{
    if (udpPort > F::UDP_PORT.max())
        OSL_RAISE(ZebDriverError, "UDPPort out of range");
    setValue<F::UDP_PORT>(udpPort);
    setEnabled(true);
}

CppUtil::MacAdrContainer IpOutEntry::getMacAddress() const
{
    const std::vector<uint8_t> octets{value<F::MAC0>(), value<F::MAC1>(), value<F::MAC2>(),
                                      value<F::MAC3>(), value<F::MAC4>(), value<F::MAC5>()};
    return CppUtil::MacAdrContainer(octets);
}

bool IpOutEntry::operator==(const IpOutEntry& other) const
{
    return getTSOidx() == other.getTSOidx() && getIpAddress() == other.getIpAddress() &&
           getUdpPort() == other.getUdpPort();
}

bool IpOutEntry::operator<(const IpOutEntry& other) const
{
    return std::tuple(getIpAddress(), getUdpPort()) < std::tuple(other.getIpAddress(), other.getUdpPort());
}

} // namespace Osl::Drivers::Zeb
