#include "mapped_words.h"

#include <osl/cpputils/error.h>

#include <fmt/format.h>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Osl::VirtualBoard {

MappedWords::Lock::Lock(const MappedWords& memory) : m_Descriptor(*memory.m_Descriptor)
{
    ::flock(m_Descriptor, LOCK_EX);
}

MappedWords::Lock::~Lock() { ::flock(m_Descriptor, LOCK_UN); }

MappedWords::MappedWords(const std::filesystem::path& path, std::size_t count, std::span<const uint32_t> reset)
{
    const auto raiseUnless = [&path](bool good, const char* reason) {
        if (!good)
            OSL_RAISE(CppUtil::FileSystemError, fmt::format("Cannot use {}: {}", path.string(), reason));
    };
    const int descriptor = ::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0644);
    raiseUnless(descriptor >= 0, std::strerror(errno));
    m_Descriptor = LinuxCppUtil::ownFD(descriptor);
    const std::size_t bytes = count * sizeof(uint32_t);

    const Lock lock(*this);
    struct stat status = {};
    raiseUnless(::fstat(descriptor, &status) == 0, std::strerror(errno));
    if (status.st_size == 0) {
        const auto written = ::pwrite(descriptor, reset.data(), reset.size_bytes(), 0);
        raiseUnless(written == static_cast<ssize_t>(reset.size_bytes()), "the disk is full");
        raiseUnless(::ftruncate(descriptor, static_cast<off_t>(bytes)) == 0, std::strerror(errno));
    } else {
        raiseUnless(static_cast<std::size_t>(status.st_size) == bytes, "it is of another size");
    }
    void* const base = ::mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_SHARED, descriptor, 0);
    raiseUnless(base != MAP_FAILED, std::strerror(errno));
    m_Words = {static_cast<uint32_t*>(base), count};
}

MappedWords::~MappedWords() { ::munmap(m_Words.data(), m_Words.size_bytes()); }

} // namespace Osl::VirtualBoard
