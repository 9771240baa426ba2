#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace Osl::LinuxCppUtil {

/// The bytes of a regular file or a pipe, up to its end, but never more than `limit`. Raises CppUtil::FileSystemError
/// naming file and reason. Waits for the writer of a pipe until the user ends that (interruptible.h).
std::vector<uint8_t> readWholeFile(const std::string& path, std::size_t limit);

/// Puts `bytes` into the file as its whole content, which is on the disk when this returns. A new or regular file
/// changes in one step, and keeps its old content (or stays absent) after any failure and however the program ends. A
/// symbolic link is followed and an existing file keeps its owner and mode. A file with several names, and one in a
/// folder where nothing can be made or put in its place, is emptied and written instead. To what is no regular file by
/// its own name, a device, a pipe, "/dev/stdout", the bytes are written behind what stands there; the wait for the
/// reader of a pipe is the user's to end. Raises CppUtil::FileSystemError naming file and reason.
void writeWholeFile(const std::string& path, std::span<const uint8_t> bytes);

} // namespace Osl::LinuxCppUtil
