#pragma once

#include <osl/linutils/raii_filedescriptors.h>

#include <cstdint>
#include <filesystem>
#include <span>

namespace Osl::VirtualBoard {

/// A chip's memory in a file of 32-bit words, shared with every board on the same folder and with whoever looks at
/// the file.
class MappedWords
{
public:
    /// Opens `path`, made with `reset` and then zeros when it is not there, of `count` words. Raises
    /// CppUtil::FileSystemError, also for a file of another size.
    MappedWords(const std::filesystem::path& path, std::size_t count, std::span<const uint32_t> reset);
    ~MappedWords();
    MappedWords(const MappedWords&) = delete;
    MappedWords& operator=(const MappedWords&) = delete;

    std::span<uint32_t> words() const { return m_Words; }

    /// Keeps other boards away while it lives.
    class Lock
    {
    public:
        explicit Lock(const MappedWords& memory);
        ~Lock();
        Lock(const Lock&) = delete;
        Lock& operator=(const Lock&) = delete;

    private:
        int m_Descriptor;
    };

private:
    LinuxCppUtil::UniqueFD m_Descriptor;
    std::span<uint32_t> m_Words;
};

} // namespace Osl::VirtualBoard
