#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace Osl::CppUtil {

/// An IPv4 address. Octets are counted from the least significant: octet 0 is the last one of the dotted text.
class IpAdrContainer
{
public:
    static constexpr std::size_t OCTETS = 4;

    constexpr explicit IpAdrContainer(uint32_t value) : m_Value(value) {}
    /// Raises OutOfRangeError unless there are exactly 4 octets.
    explicit IpAdrContainer(const std::vector<uint8_t>& octets);
    /// Dotted decimal text, up to three digits per group; raises ParsingError for anything else.
    explicit IpAdrContainer(const std::string& text);

    /// Host byte order; the first octet of the text is the most significant byte.
    constexpr uint32_t value() const { return m_Value; }
    /// Raises OutOfRangeError for an index above 3.
    uint8_t octet(std::size_t index) const;
    std::vector<uint8_t> octets() const;
    std::string toString() const;
    /// 224.0.0.0 to 239.255.255.255.
    constexpr bool isMulticast() const { return m_Value >> 28 == 0xE; }

    constexpr bool operator==(const IpAdrContainer&) const = default;
    constexpr bool operator<(const IpAdrContainer& other) const { return m_Value < other.m_Value; }

private:
    uint32_t m_Value;
};

/// A 48-bit MAC address. Octets are counted from the least significant: octet 0 is the last one of the text.
class MacAdrContainer
{
public:
    static constexpr std::size_t OCTETS = 6;

    /// Raises OutOfRangeError unless there are exactly 6 octets.
    explicit MacAdrContainer(const std::vector<uint8_t>& octets);
    /// Six pairs of hexadecimal digits with ":" between them; raises ParsingError for anything else.
    explicit MacAdrContainer(const std::string& text);
    /// The group address of RFC 1112, 6.4; raises InvalidArgumentError for an address that is not multicast.
    explicit MacAdrContainer(const IpAdrContainer& multicast);

    /// Raises OutOfRangeError for an index above 5.
    uint8_t octet(std::size_t index) const;
    /// Upper case, two digits per octet.
    std::string toString() const;

    bool operator==(const MacAdrContainer&) const = default;

private:
    std::array<uint8_t, OCTETS> m_Octets{};
};

} // namespace Osl::CppUtil
