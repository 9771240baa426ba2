#include <osl/cpputils/error.h>
#include <osl/cpputils/stringutils.h>
#include <osl/linutils/attribute_file.h>
#include <osl/linutils/interruptible.h>
#include <osl/linutils/raii_filedescriptors.h>

#include <fmt/format.h>

#include <array>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

namespace Osl::LinuxCppUtil {
namespace {

[[noreturn]] void raiseUnreadable(const std::string& path, const std::string& reason,
                                  std::string_view sentence = ATTRIBUTE_UNREADABLE)
{
    OSL_RAISE(CppUtil::FileSystemError, fmt::format(fmt::runtime(sentence), path) + ": " + reason);
}

[[noreturn]] void raiseUnwritable(const std::string& path, const std::string& reason)
{
    OSL_RAISE(CppUtil::FileSystemError, "Cannot write sysfs entry: \"" + path + "\": " + reason);
}

/// Reads up to `length` bytes in one call; answers their number.
std::size_t readOnce(const std::string& path, void* buffer, std::size_t length,
                     std::string_view sentence = ATTRIBUTE_UNREADABLE)
{
    const int descriptor = Interruptible::open(path, O_RDONLY);
    if (descriptor == -1)
        raiseUnreadable(path, std::strerror(errno), sentence);
    const UniqueFD owner = ownFD(descriptor);
    const ssize_t got = Interruptible::read(descriptor, buffer, length);
    if (got == -1)
        raiseUnreadable(path, std::strerror(errno), sentence);
    return static_cast<std::size_t>(got);
}

} // namespace

std::string readAttributeText(const std::string& path, std::string_view sentence)
{
    std::array<char, 256> buffer{};
    const std::size_t length = readOnce(path, buffer.data(), buffer.size(), sentence);
    if (length == buffer.size())
        raiseUnreadable(path, "its text is too long", sentence);
    std::string text = CppUtil::trimLeft({buffer.data(), length});
    text.erase(text.find_last_not_of(" \t\r\n") + 1);
    return text;
}

uint64_t readAttributeNumber(const std::string& path, uint64_t most, std::string_view sentence)
{
    const std::string text = readAttributeText(path, sentence);
    uint64_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size() || number > most)
        raiseUnreadable(path, fmt::format("its text is not a number from 0 to {}", most), sentence);
    return number;
}

uint32_t readAttributeSize(const std::string& path)
{
    return static_cast<uint32_t>(readAttributeNumber(path, ATTRIBUTE_TABLE_MAX));
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
