#pragma once

#include <osl/cpputils/netaddress.h>
#include <osl/userspace_drivers/drivers/zeb/ts/fieldentry.h>

namespace Osl::Drivers::Zeb {

// clang-format off
inline constexpr std::array IP_OUT_MAP_FIELDS{
    Field{.at = {"TSOidx", POSITION, 0, 8}, .stuffing = 255, .refusal = "TSOIdx out of range"},
    Field{.at = {"MAC4",     0,  0,  8}},
    Field{.at = {"MAC5",     0,  8,  8}},
    Field{.at = {"MAC0",     1,  0,  8}},
    Field{.at = {"MAC1",     1,  8,  8}},
    Field{.at = {"MAC2",     1, 16,  8}},
    Field{.at = {"MAC3",     1, 24,  8}},
    Field{.at = {"IP",       2,  0, 32}},
    Field{.at = {"UDP_PORT", 3,  0, 16}, .stuffing = 65535, .refusal = "UDPPort out of range", .switchesOn = "ENABLED"},
    Field{.at = {"RTP",      3, 16,  1}},
    Field{.at = {"ENABLED",  3, 17,  1}, .tellsUse = true},
};
// clang-format on

inline constexpr TableLayout IP_OUT_MAP{
    .name = "PHYS OUT MAP", // not a slip of this table: users and scripts know its range message with this text
    .block = TableBlock::IO,
    .activeBase = {1024, 1024},
    .rows = 256,
    .wordsPerRow = 4,
    .fields = IP_OUT_MAP_FIELDS,
    .format = "TSOIDX:{TSOidx:03}, MAC:{MAC5:02X}:{MAC4:02X}:{MAC3:02X}:{MAC2:02X}:{MAC1:02X}:{MAC0:02X}, IP:{IP:ip}, "
              "PORT:{UDP_PORT:02}, RTP:{RTP}, ENABLED:{ENABLED}",
};

/// A row of the IP OUT MAP: the UDP destination of one TSO.
class IpOutEntry final : public DeclaredEntry<IP_OUT_MAP>
{
public:
    IpOutEntry() = default;
    /// The stuffing row of a TSO.
    explicit IpOutEntry(uint32_t tsoIdx) { create<"TSOidx">(tsoIdx); }
    IpOutEntry(uint32_t tsoIdx, const CppUtil::MacAdrContainer& macAddress, const CppUtil::IpAdrContainer& ipAddress,
               uint32_t udpPort, bool rtp, bool enabled)
    {
        create<"TSOidx">(tsoIdx);
        setMacAddress(macAddress);
        create<"IP", "UDP_PORT", "RTP", "ENABLED">(ipAddress.value(), udpPort, rtp, enabled);
    }

    void setTSOidx(uint32_t tsoIdx) { set<"TSOidx">(tsoIdx); }
    void setMacAddress(const CppUtil::MacAdrContainer& macAddress);
    void setIpAddress(const CppUtil::IpAdrContainer& ipAddress) { set<"IP">(ipAddress.value()); }
    void setUdpPort(uint32_t udpPort) { set<"UDP_PORT">(udpPort); } ///< enables the row
    void setRtp(bool rtp) { set<"RTP">(rtp); }
    void setEnabled(bool enabled) { set<"ENABLED">(enabled); }

    uint8_t getTSOidx() const { return get<"TSOidx">(); }
    CppUtil::MacAdrContainer getMacAddress() const;
    CppUtil::IpAdrContainer getIpAddress() const { return CppUtil::IpAdrContainer(get<"IP">()); }
    uint16_t getUdpPort() const { return get<"UDP_PORT">(); }
    bool isRtp() const { return get<"RTP">(); }
    bool isEnabled() const { return get<"ENABLED">(); }

    /// Same TSO and destination, whatever the flags and the MAC address.
    bool operator==(const IpOutEntry& other) const
    {
        return key<"TSOidx", "IP", "UDP_PORT">() == other.key<"TSOidx", "IP", "UDP_PORT">();
    }
    /// By IP address, then by UDP port.
    bool operator<(const IpOutEntry& other) const { return key<"IP", "UDP_PORT">() < other.key<"IP", "UDP_PORT">(); }
};

} // namespace Osl::Drivers::Zeb
