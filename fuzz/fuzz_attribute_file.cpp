// Attribute files as a driver may fill them, and keys of the scrambler as a file or a user may give them.

#include <osl/cpputils/assertion.h>
#include <osl/cpputils/error.h>
#include <osl/linutils/attribute_file.h>
#include <osl/userspace_drivers/drivers/zeb/scm/scmkey.h>

#include <fmt/format.h>

#include <cstring>
#include <sys/mman.h>
#include <unistd.h>

using namespace Osl::LinuxCppUtil;

namespace {

/// Returns the result of `read`, or `failed` when it raised the error of attribute files.
template <class Result, class Read>
Result resultOf(const Read& read, Result failed)
{
    try {
        return read();
    } catch (const Osl::CppUtil::FileSystemError&) {
        return failed;
    }
}

void checkKey(const std::string& text)
{
    using namespace Osl::Drivers::Zeb;
    const std::optional<ScmKey> key = parseScmKey(text);
    OSL_ASSERT(!key || parseScmKey(toString(*key)) == key);
    OSL_ASSERT(!key || (text.size() == 32 && text.find_first_not_of("0123456789abcdefABCDEF") == std::string::npos));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size)
{
    static const int file = ::memfd_create("attribute", 0);
    static const std::string path = fmt::format("/proc/self/fd/{}", file);
    OSL_ASSERT(::ftruncate(file, 0) == 0);
    OSL_ASSERT(::pwrite(file, data, size, 0) == static_cast<ssize_t>(size));

    const std::string text = resultOf([] { return readAttributeText(path); }, std::string());
    OSL_ASSERT(text.size() <= size && text.size() < 256);
    checkKey(text);
    const uint32_t entries = resultOf([] { return readAttributeSize(path); }, UINT32_MAX);
    OSL_ASSERT(entries == UINT32_MAX || (entries <= ATTRIBUTE_TABLE_MAX && !text.empty()));

    const auto count = static_cast<uint32_t>(size / sizeof(uint32_t));
    const bool isWhole = size % sizeof(uint32_t) == 0;
    const auto words = resultOf([count] { return readAttributeTable(path, count); }, std::vector<uint32_t>());
    OSL_ASSERT(words.size() == (isWhole ? count : 0));
    OSL_ASSERT(words.empty() || std::memcmp(words.data(), data, size) == 0);
    if (isWhole && size != 0) {
        writeAttributeTable(path, words);
        OSL_ASSERT(readAttributeTable(path, count) == words);
    }
    return 0;
}
