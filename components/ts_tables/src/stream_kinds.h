#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace Osl::Ts {

/// A descriptor of a table, in the library's memory.
struct Descriptor
{
    uint8_t tag;
    std::span<const uint8_t> bytes; ///< without tag and length
};

/// What an elementary stream is, in words.
std::string_view streamKind(uint8_t type, const std::vector<Descriptor>& descriptors);

/// The languages that its descriptors name, each once, joined by "/".
std::string languages(const std::vector<Descriptor>& descriptors);

} // namespace Osl::Ts
