#include "faults.h"

#include <osl/cpputils/error.h>
#include <osl/zeb_routing/nearest.h>

#include <fmt/format.h>

namespace Osl::ZebRouting {
namespace {

constexpr std::size_t LONGEST_QUOTE = 40;

} // namespace

std::string printable(std::string_view text)
{
    std::string shown;
    for (const char c : text) {
        if (c >= ' ' && c <= '~')
            shown += c;
        else
            shown += fmt::format("\\x{:02x}", static_cast<unsigned char>(c));
    }
    return shown;
}

std::string inQuotes(std::string_view found)
{
    return fmt::format("\"{}{}\"", printable(found.substr(0, LONGEST_QUOTE)),
                       found.size() > LONGEST_QUOTE ? "..." : "");
}

std::string suggestion(std::string_view word, std::span<const std::string_view> candidates)
{
    const std::string_view near = nearestWord(word, candidates);
    return near.empty() ? "" : fmt::format("; did you mean \"{}\"?", near);
}

Mac macOf(const CppUtil::MacAdrContainer& octets)
{
    Mac mac{};
    for (std::size_t i = 0; i < mac.size(); ++i)
        mac[mac.size() - 1 - i] = octets.octet(i);
    return mac;
}

std::optional<uint32_t> parseAddress(std::string_view text)
{
    try {
        return CppUtil::IpAdrContainer(std::string(text.substr(0, sizeof "255.255.255.255"))).value();
    } catch (const CppUtil::ParsingError&) {
        return std::nullopt;
    }
}

std::optional<Mac> parseMac(std::string_view text)
{
    try {
        return macOf(CppUtil::MacAdrContainer(std::string(text.substr(0, sizeof "01:00:5e:01:02:03"))));
    } catch (const CppUtil::ParsingError&) {
        return std::nullopt;
    }
}

} // namespace Osl::ZebRouting
