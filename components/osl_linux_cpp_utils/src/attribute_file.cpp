#include <osl/cpputils/error.h>
#include <osl/cpputils/stringutils.h>
#include <osl/linutils/attribute_file.h>
#include <osl/linutils/interruptible.h>
#include <osl/linutils/raii_filedescriptors.h>

#include <fmt/format.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <optional>
#include <unistd.h>

namespace Osl::LinuxCppUtil {
namespace {

[[noreturn]] void raiseUnreadable(const std::string& path, const std::string& reason)
{
    OSL_RAISE(CppUtil::FileSystemError, "Cannot read sysfs entry: \"" + path + "\": " + reason);
}

[[noreturn]] void raiseUnwritable(const std::string& path, const std::string& reason)
{
    OSL_RAISE(CppUtil::FileSystemError, "Cannot write sysfs entry: \"" + path + "\": " + reason);
}

/// Reads up to `length` bytes in one call; answers their number.
std::size_t readOnce(const std::string& path, void* buffer, std::size_t length)
{
    const int descriptor = Interruptible::open(path, O_RDONLY);
    if (descriptor == -1)
        raiseUnreadable(path, std::strerror(errno));
    const UniqueFD owner = ownFD(descriptor);
    const ssize_t got = Interruptible::read(descriptor, buffer, length);
    if (got == -1)
        raiseUnreadable(path, std::strerror(errno));
    return static_cast<std::size_t>(got);
}

} // namespace

std::string readAttributeText(const std::string& path)
{
    std::array<char, 256> buffer{};
    const std::size_t length = readOnce(path, buffer.data(), buffer.size());
    if (length == buffer.size())
        raiseUnreadable(path, "its text is too long");
    std::string text = CppUtil::trimLeft({buffer.data(), length});
    text.erase(text.find_last_not_of(" \t\r\n") + 1);
    return text;
}

uint32_t readAttributeSize(const std::string& path)
{
    const std::string text = readAttributeText(path);
    const std::optional<uint32_t> size = text.starts_with("0x") ? std::nullopt : CppUtil::parseUint32(text);
    if (!size || *size > ATTRIBUTE_TABLE_MAX)
        raiseUnreadable(path, fmt::format("its text is not a number of entries from 0 to {}", ATTRIBUTE_TABLE_MAX));
    return *size;
}

std::size_t readAttributeWords(const std::string& path, std::span<uint32_t> table)
{
    return readOnce(path, table.data(), table.size_bytes());
}

std::vector<uint32_t> readAttributeTable(const std::string& path, uint32_t count)
{
    std::vector<uint32_t> table(count);
    readAttributeWords(path, table);
    return table;
}

void writeAttributeTable(const std::string& path, std::span<const uint32_t> table)
{
    const int descriptor = Interruptible::open(path, O_WRONLY);
    if (descriptor == -1)
        raiseUnwritable(path, std::strerror(errno));
    const UniqueFD owner = ownFD(descriptor);
    const ssize_t written = Interruptible::write(descriptor, table.data(), table.size_bytes());
    if (written == -1)
        raiseUnwritable(path, std::strerror(errno));
    if (static_cast<std::size_t>(written) != table.size_bytes())
        raiseUnwritable(path, fmt::format("only {} of {} bytes were taken", written, table.size_bytes()));
}

AttributeLock::AttributeLock(const std::string& path, const LockPatience& patience)
{
    const int descriptor = ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (descriptor == -1)
        return;
    m_File = ownFD(descriptor);
    m_Lock.emplace(descriptor, path, patience);
}

} // namespace Osl::LinuxCppUtil
