#pragma once

#include <cstdint>
#include <filesystem>
#include <string_view>
#include <vector>

namespace Osl::VirtualBoard {

/// The file's 32-bit words in the machine's byte order; none when it cannot be read.
std::vector<uint32_t> readWords(const std::filesystem::path& file);

/// Puts a new file in the place of the one that is there, so that nobody reads half of it. Returns whether that was
/// possible.
bool replaceFile(const std::filesystem::path& file, std::string_view content);

} // namespace Osl::VirtualBoard
