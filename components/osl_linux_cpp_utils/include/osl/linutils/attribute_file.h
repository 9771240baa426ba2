#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

/// Attribute files of kernel drivers (sysfs). The driver takes one read or write as one operation, so content is read
/// and written whole, in one call. All functions raise CppUtil::FileSystemError, naming the file and the reason.
namespace Osl::LinuxCppUtil {

/// Most entries a table may have by its size attribute: a larger one is a fault, not a reason to take memory.
inline constexpr uint32_t ATTRIBUTE_TABLE_MAX = 1'048'576;

/// The text of a short attribute (below 256 bytes), without the white space around it.
std::string readAttributeText(const std::string& path);

/// Number of entries of a table, 0..ATTRIBUTE_TABLE_MAX, from an attribute of decimal text.
uint32_t readAttributeSize(const std::string& path);

/// Reads words in the machine's byte order into `table`; answers the number of bytes read, which is less than the
/// table's when the file is shorter. A longer file is an error.
std::size_t readAttributeWords(const std::string& path, std::span<uint32_t> table);

/// All `count` words of a table; a file of any other length is an error.
std::vector<uint32_t> readAttributeTable(const std::string& path, uint32_t count);

/// Writes the whole table over the old one. Never creates a file, nor empties one first.
void writeAttributeTable(const std::string& path, std::span<const uint32_t> table);

} // namespace Osl::LinuxCppUtil
