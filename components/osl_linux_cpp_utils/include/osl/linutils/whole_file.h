#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace Osl::LinuxCppUtil {

/// The bytes of a regular file or a pipe, up to its end, but never more than `limit`. Raises CppUtil::FileSystemError
/// naming file and reason; never waits for a pipe that nobody writes to.
std::vector<uint8_t> readWholeFile(const std::string& path, std::size_t limit);

/// Puts `bytes` into the file as its whole content: a new or regular file changes in one step, once all of it is on
/// the disk, and keeps its old content (or stays absent) after any failure. A symbolic link is followed and an existing
/// file keeps its mode. To anything else, a device or a pipe, the bytes are written as they are. Raises
/// CppUtil::FileSystemError naming file and reason.
void writeWholeFile(const std::string& path, std::span<const uint8_t> bytes);

} // namespace Osl::LinuxCppUtil
