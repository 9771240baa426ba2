#pragma once

#include <osl/cpputils/netaddress.h>
#include <osl/zeb_routing/facts.h>

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

/// What readers of statements say about what they cannot read.
namespace Osl::ZebRouting {

/// A statement that is wrong; `text` is for the user.
struct Fault
{
    std::string text;
    std::size_t line = 0; ///< where the reader knows better than its caller
};

/// As any terminal can show it.
std::string printable(std::string_view text);
/// The same in quotation marks, and not too long.
std::string inQuotes(std::string_view found);

/// "; did you mean "…"?" for the nearest of the candidates, or nothing.
std::string suggestion(std::string_view word, std::span<const std::string_view> candidates);

Mac macOf(const CppUtil::MacAdrContainer& octets);

/// Dotted text; nullopt for anything else.
std::optional<uint32_t> parseAddress(std::string_view text);
std::optional<Mac> parseMac(std::string_view text);

} // namespace Osl::ZebRouting
