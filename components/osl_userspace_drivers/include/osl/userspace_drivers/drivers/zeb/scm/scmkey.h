#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace Osl::Drivers::Zeb {

/// A 128-bit key or initialisation vector, the least significant word first.
using ScmKey = std::array<uint32_t, 4>;

/// The key of a text of exactly 32 hexadecimal digits, the most significant first; nullopt for any other text.
std::optional<ScmKey> parseScmKey(std::string_view digits);

/// The 32 digits, in upper case.
std::string toString(const ScmKey& key);

} // namespace Osl::Drivers::Zeb
