#pragma once

#include <osl/linutils/file_lock.h>
#include <osl/linutils/raii_filedescriptors.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

/// Attribute files of kernel drivers (sysfs). The driver takes one read or write as one operation, so content is read
/// and written whole, in one call. All functions raise CppUtil::FileSystemError, naming the file and the reason.
namespace Osl::LinuxCppUtil {

/// Most entries a table may have by its size attribute: a larger one is a fault, not a reason to take memory.
inline constexpr uint32_t ATTRIBUTE_TABLE_MAX = 1'048'576;

/// How the error of a failed read begins; "{}" is the path, and the reason follows.
inline constexpr std::string_view ATTRIBUTE_UNREADABLE = "Cannot read sysfs entry: \"{}\"";

/// The text of a short attribute (below 256 bytes), without the white space around it.
std::string readAttributeText(const std::string& path, std::string_view sentence = ATTRIBUTE_UNREADABLE);

/// The number 0..`most` that is an attribute's text: decimal digits and nothing else.
uint64_t readAttributeNumber(const std::string& path, uint64_t most, std::string_view sentence = ATTRIBUTE_UNREADABLE);

/// Number of entries of a table, 0..ATTRIBUTE_TABLE_MAX.
uint32_t readAttributeSize(const std::string& path);

/// Reads words in the machine's byte order into `table`; returns the number of bytes read, which is less than the
/// table's when the file is shorter. What a longer file has besides is not asked for.
std::size_t readAttributeWords(const std::string& path, std::span<uint32_t> table);

/// `count` words of a table; those that a shorter file lacks are 0.
std::vector<uint32_t> readAttributeTable(const std::string& path, uint32_t count);

/// Writes the whole table over the old one. Never creates a file, nor empties one first.
void writeAttributeTable(const std::string& path, std::span<const uint32_t> table);

/// Keeps the table of an attribute file, from reading it to writing it back, from others who lock it as well. A file
/// that cannot be locked is used without: what is wrong with it shows when it is read.
class AttributeLock
{
public:
    /// Raises LockError as FileLock does.
    AttributeLock(const std::string& path, const LockPatience& patience);

private:
    UniqueFD m_File;
    std::optional<FileLock> m_Lock;
};

} // namespace Osl::LinuxCppUtil
