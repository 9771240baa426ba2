#pragma once

#include <osl/cpputils/netaddress.h>
#include <osl/userspace_drivers/drivers_misc/fieldentry.h>

#include <string>

namespace Osl::Drivers::Zeb {

struct IpInFields
{
    static constexpr Misc::BitField IP{"IP", 0, 0, 32};
    static constexpr Misc::BitField UDP_PORT{"UDP port", 1, 0, 16};
    static constexpr Misc::BitField TSI_IDX{"TSIidx", 1, 16, 8};
    static constexpr Misc::BitField ENABLED{"ENABLED", 1, 24, 1};
    static constexpr std::array ALL{IP, UDP_PORT, TSI_IDX, ENABLED};
};

/// A row of the IP LUT: the TSI that a UDP multicast stream feeds. Every setter raises ZebDriverError, the entry
/// unchanged, for a value outside its range.
class IpInEntry final : public Misc::FieldEntry<2, IpInFields::ALL>
{
public:
    /// A stuffing row.
    IpInEntry() { setStuffing(); }
    /// An enabled row.
    IpInEntry(uint32_t tsiIdx, const std::string& ipAddress, uint32_t udpPort);

    /// TSIidx 255, IP 0.0.0.0, UDP port 65535, disabled.
    void setStuffing() override;

    // These three enable the row.
    void setTSIidx(uint32_t tsiIdx);                 ///< 0..255
    void setIpAddress(const std::string& ipAddress); ///< dotted text
    void setUdpPort(uint32_t udpPort);               ///< 0..65535
    void setEnabled(bool enabled) { setValue<F::ENABLED>(enabled); }

    uint8_t getTSIidx() const { return value<F::TSI_IDX>(); }
    CppUtil::IpAdrContainer getIpAddress() const { return CppUtil::IpAdrContainer(value<F::IP>()); }
    uint16_t getUdpPort() const { return value<F::UDP_PORT>(); }
    bool isEnabled() const { return value<F::ENABLED>(); }

    /// The order in which the FPGA needs the rows: by IP address, then by UDP port.
    bool operator<(const IpInEntry& other) const;

private:
    using F = IpInFields;

    void putTSIidx(uint32_t tsiIdx, const char* failure);
    void putIpAddress(const std::string& ipAddress, const char* failure);
    void putUdpPort(uint32_t udpPort, const char* failure);
};

} // namespace Osl::Drivers::Zeb
