#pragma once

#include <osl/cpputils/netaddress.h>
#include <osl/userspace_drivers/drivers/zeb/ts/fieldentry.h>

#include <string>

namespace Osl::Drivers::Zeb {

// clang-format off
inline constexpr std::array IP_LUT_FIELDS{
    Field{.at = {"TSIidx",   1, 16,  8}, .stuffing = 255,
          .refusal         = "Attempt to set invalid TSIidx (",
          .creationRefusal = "IpInEntry created with invalid TSIidx (",     .switchesOn = "ENABLED"},
    Field{.at = {"IP",       0,  0, 32},
          .refusal         = "Attempt to set invalid IP address (",
          .creationRefusal = "IpInEntry created with invalid IP address (", .switchesOn = "ENABLED"},
    Field{.at = {"UDP_PORT", 1,  0, 16}, .stuffing = 65535,
          .refusal         = "Attempt to set invalid UDP port (",
          .creationRefusal = "IpInEntry created with invalid UDP port (",   .switchesOn = "ENABLED"},
    Field{.at = {"ENABLED",  1, 24,  1}, .tellsUse = true},
};
// clang-format on

inline constexpr TableLayout IP_LUT{
    .name = "IP LUT",
    .block = TableBlock::IO,
    // Both banks appear at one address: the FPGA chooses which of them an access there reaches. So it is not known that
    // what is read back there is what was written.
    .activeBase = {2048, 2048},
    .rows = 256,
    .wordsPerRow = 2,
    .bankWord = 0,
    .fields = IP_LUT_FIELDS,
    .format = "IP:{IP:ip}, UDP_PORT:{UDP_PORT:05}, TSIIDX:{TSIidx:03}, ENABLED:{ENABLED}",
};

/// A row of the IP LUT: the TSI that a UDP multicast stream feeds.
class IpInEntry final : public DeclaredEntry<IP_LUT>
{
public:
    IpInEntry() = default;
    /// An enabled row.
    IpInEntry(uint32_t tsiIdx, const std::string& ipAddress, uint32_t udpPort)
    {
        create<"TSIidx">(tsiIdx);
        create<"IP">(parsed(ipAddress, FIELD<"IP">.creationRefusal));
        create<"UDP_PORT">(udpPort);
    }

    // These three enable the row.
    void setTSIidx(uint32_t tsiIdx) { set<"TSIidx">(tsiIdx); }
    void setIpAddress(const std::string& dottedText) { set<"IP">(parsed(dottedText, FIELD<"IP">.refusal)); }
    void setUdpPort(uint32_t udpPort) { set<"UDP_PORT">(udpPort); }
    void setEnabled(bool enabled) { set<"ENABLED">(enabled); }

    uint8_t getTSIidx() const { return get<"TSIidx">(); }
    CppUtil::IpAdrContainer getIpAddress() const { return CppUtil::IpAdrContainer(get<"IP">()); }
    uint16_t getUdpPort() const { return get<"UDP_PORT">(); }
    bool isEnabled() const { return get<"ENABLED">(); }

    /// The order in which the FPGA needs the rows: by IP address, then by UDP port.
    bool operator<(const IpInEntry& other) const { return key<"IP", "UDP_PORT">() < other.key<"IP", "UDP_PORT">(); }

private:
    static uint32_t parsed(const std::string& ipAddress, std::string_view refusal);
};

} // namespace Osl::Drivers::Zeb
