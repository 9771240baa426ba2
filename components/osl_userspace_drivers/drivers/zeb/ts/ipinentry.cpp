#include <osl/userspace_drivers/drivers/drivererror.h>
#include <osl/userspace_drivers/drivers/zeb/ts/ipinentry.h>
#include <osl/userspace_drivers/drivers/zeb/ts/rangecheck.h>

#include <tuple>

namespace Osl::Drivers::Zeb {

IpInEntry::IpInEntry(uint32_t tsiIdx, const std::string& ipAddress, uint32_t udpPort)
{
    putTSIidx(tsiIdx, "IpInEntry created with invalid TSIidx (");
    putIpAddress(ipAddress, "IpInEntry created with invalid IP address (");
    putUdpPort(udpPort, "IpInEntry created with invalid UDP port (");
}

void IpInEntry::setStuffing()
{
    setTSIidx(255);
    setValue<F::IP>(0);
    setUdpPort(65535);
    setEnabled(false);
}

void IpInEntry::setTSIidx(uint32_t tsiIdx) { putTSIidx(tsiIdx, "Attempt to set invalid TSIidx ("); }

void IpInEntry::setIpAddress(const std::string& ipAddress)
{
    putIpAddress(ipAddress, "Attempt to set invalid IP address (");
}

void IpInEntry::setUdpPort(uint32_t udpPort) { putUdpPort(udpPort, "Attempt to set invalid UDP port ("); }

bool IpInEntry::operator<(const IpInEntry& other) const
{
    return std::tuple(getIpAddress(), getUdpPort()) < std::tuple(other.getIpAddress(), other.getUdpPort());
}

void IpInEntry::putTSIidx(uint32_t tsiIdx, const char* failure)
{
    setValue<F::TSI_IDX>(inRange(tsiIdx, 0, F::TSI_IDX.max(), failure));
    setEnabled(true);
}

void IpInEntry::putIpAddress(const std::string& ipAddress, const char* failure)
{
    try {
        setValue<F::IP>(CppUtil::IpAdrContainer(ipAddress).value());
    } catch (const CppUtil::ParsingError&) {
        OSL_RAISE(ZebDriverError, failure + ipAddress + ")");
    }
    setEnabled(true);
}

void IpInEntry::putUdpPort(uint32_t udpPort, const char* failure)
{
    setValue<F::UDP_PORT>(inRange(udpPort, 0, F::UDP_PORT.max(), failure));
    setEnabled(true);
}

} // namespace Osl::Drivers::Zeb
