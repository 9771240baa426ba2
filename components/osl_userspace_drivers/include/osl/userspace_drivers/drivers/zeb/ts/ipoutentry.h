#pragma once

#include <osl/cpputils/netaddress.h>
#include <osl/userspace_drivers/drivers_misc/fieldentry.h>

namespace Osl::Drivers::Zeb {

struct IpOutFields
{
    static constexpr Misc::BitField MAC4{"MAC octet 4", 0, 0, 8};
    static constexpr Misc::BitField MAC5{"MAC octet 5", 0, 8, 8};
    static constexpr Misc::BitField MAC0{"MAC octet 0", 1, 0, 8};
    static constexpr Misc::BitField MAC1{"MAC octet 1", 1, 8, 8};
    static constexpr Misc::BitField MAC2{"MAC octet 2", 1, 16, 8};
    static constexpr Misc::BitField MAC3{"MAC octet 3", 1, 24, 8};
    static constexpr Misc::BitField IP{"IP", 2, 0, 32};
    static constexpr Misc::BitField UDP_PORT{"UDP port", 3, 0, 16};
    static constexpr Misc::BitField RTP{"RTP", 3, 16, 1};
    static constexpr Misc::BitField ENABLED{"ENABLED", 3, 17, 1};
    static constexpr std::array ALL{MAC4, MAC5, MAC0, MAC1, MAC2, MAC3, IP, UDP_PORT, RTP, ENABLED};
};

/// A row of the IP OUT MAP: the UDP destination of one TSO. The TSO is the row's position and not stored in it. The
/// setters raise ZebDriverError, the entry unchanged, for a value outside the range.
class IpOutEntry final : public Misc::FieldEntry<4, IpOutFields::ALL>
{
public:
    /// A stuffing row of TSO 255.
    IpOutEntry() { setStuffing(); }
    /// The stuffing row of a TSO.
    explicit IpOutEntry(uint32_t tsoIdx);
    IpOutEntry(uint32_t tsoIdx, const CppUtil::MacAdrContainer& macAddress, const CppUtil::IpAdrContainer& ipAddress,
               uint32_t udpPort, bool rtp, bool enabled);

    /// TSOidx 255, MAC and IP address all zero, UDP port 65535, no RTP, disabled.
    void setStuffing() override;

    void setTSOidx(uint32_t tsoIdx); ///< 0..255
    void setMacAddress(const CppUtil::MacAdrContainer& macAddress);
    void setIpAddress(const CppUtil::IpAdrContainer& ipAddress) { setValue<F::IP>(ipAddress.value()); }
    void setUdpPort(uint32_t udpPort); ///< 0..65535; enables the row
    void setRtp(bool rtp) { setValue<F::RTP>(rtp); }
    void setEnabled(bool enabled) { setValue<F::ENABLED>(enabled); }

    uint8_t getTSOidx() const { return m_TSOidx; }
    CppUtil::MacAdrContainer getMacAddress() const;
    CppUtil::IpAdrContainer getIpAddress() const { return CppUtil::IpAdrContainer(value<F::IP>()); }
    uint16_t getUdpPort() const { return value<F::UDP_PORT>(); }
    bool isRtp() const { return value<F::RTP>(); }
    bool isEnabled() const { return value<F::ENABLED>(); }

    /// Same TSO and destination, whatever the flags and the MAC address.
    bool operator==(const IpOutEntry& other) const;
    /// By IP address, then by UDP port.
    bool operator<(const IpOutEntry& other) const;

private:
    using F = IpOutFields;

    uint8_t m_TSOidx = 0;
};

} // namespace Osl::Drivers::Zeb
