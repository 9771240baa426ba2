#include <osl/cpputils/error.h>
#include <osl/cpputils/netaddress.h>
#include <osl/cpputils/stringutils.h>

#include <fmt/format.h>

#include <algorithm>
#include <charconv>

namespace Osl::CppUtil {
namespace {

/// `text` cut into octets at `separator`, the last group first; false unless there are `octets.size()` groups of
/// minDigits..maxDigits digits, each an octet's value.
template <std::size_t OCTETS>
bool parseOctets(const std::string& text, char separator, int base, std::size_t minDigits, std::size_t maxDigits,
                 std::array<uint8_t, OCTETS>& octets)
{
    const std::vector<std::string> groups = split(text, separator);
    if (groups.size() != OCTETS)
        return false;
    for (std::size_t i = 0; i < OCTETS; ++i) {
        const std::string& group = groups[OCTETS - 1 - i];
        const char* const end = group.data() + group.size();
        const auto [parsedTo, error] = std::from_chars(group.data(), end, octets[i], base);
        if (group.size() < minDigits || group.size() > maxDigits || error != std::errc() || parsedTo != end)
            return false;
    }
    return true;
}

} // namespace

IpAdrContainer::IpAdrContainer(const std::vector<uint8_t>& octets) : m_Value(0)
{
    if (octets.size() != OCTETS)
        OSL_RAISE(OutOfRangeError, fmt::format("Octet vector has invalid size ({}) expected 4", octets.size()));
    for (std::size_t i = 0; i < OCTETS; ++i)
        m_Value |= uint32_t{octets[i]} << 8 * i;
}

IpAdrContainer::IpAdrContainer(const std::string& text) : m_Value(0)
{
    std::array<uint8_t, OCTETS> octets{};
    if (!parseOctets(text, '.', 10, 1, 3, octets))
        OSL_RAISE(ParsingError, "Unable to parse string representation of IPv4 address: \"" + text + "\"");
    for (std::size_t i = 0; i < OCTETS; ++i)
        m_Value |= uint32_t{octets[i]} << 8 * i;
}

uint8_t IpAdrContainer::octet(std::size_t index) const
{
    if (index >= OCTETS)
        OSL_RAISE(OutOfRangeError, fmt::format("Octet index ({}) out of range.", index));
    return static_cast<uint8_t>(m_Value >> 8 * index);
}

std::vector<uint8_t> IpAdrContainer::octets() const { return {octet(0), octet(1), octet(2), octet(3)}; }

std::string IpAdrContainer::toString() const
{
    return fmt::format("{}.{}.{}.{}", octet(3), octet(2), octet(1), octet(0));
}

MacAdrContainer::MacAdrContainer(const std::vector<uint8_t>& octets)
{
    if (octets.size() != OCTETS)
        OSL_RAISE(
            OutOfRangeError,
            fmt::format("Invalid size of MAC address octet vector. Expected 6 octets, but got {}", octets.size()));
    std::copy(octets.begin(), octets.end(), m_Octets.begin());
}

MacAdrContainer::MacAdrContainer(const std::string& text)
{
    if (!parseOctets(text, ':', 16, 2, 2, m_Octets))
        OSL_RAISE(ParsingError, "Unable to parse string representation of MAC address: \"" + text + "\"");
}

MacAdrContainer::MacAdrContainer(const IpAdrContainer& multicast)
{
    if (!multicast.isMulticast())
        OSL_RAISE(InvalidArgumentError, "IP address must be in the multicast range");
    const auto lowBitsOfThird = static_cast<uint8_t>(multicast.octet(2) & 0x7F);
    m_Octets = {multicast.octet(0), multicast.octet(1), lowBitsOfThird, 0x5E, 0x00, 0x01};
}

uint8_t MacAdrContainer::octet(std::size_t index) const
{
    if (index >= OCTETS)
        OSL_RAISE(OutOfRangeError, fmt::format("Octet index is out of range of a 48bit MAC address. Got {} "
                                               "expected less than 6.",
                                               index));
    return m_Octets[index];
}

std::string MacAdrContainer::toString() const
{
    return fmt::format("{:02X}:{:02X}:{:02X}:{:02X}:{:02X}:{:02X}", m_Octets[5], m_Octets[4], m_Octets[3], m_Octets[2],
                       m_Octets[1], m_Octets[0]);
}

} // namespace Osl::CppUtil
