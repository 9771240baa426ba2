#pragma once

#include <span>
#include <string_view>

namespace Osl::ZebRouting {

/// The word of `known` that `word` was most likely meant to be: at most two letters missing, added, wrong or swapped,
/// and not most of it. Empty when there is none.
std::string_view nearestWord(std::string_view word, std::span<const std::string_view> known);

} // namespace Osl::ZebRouting
