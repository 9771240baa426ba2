#include "zeb_fpga_shell/pktio/packet_file.h"

#include <osl/cpputils/error.h>

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace Osl::Utils {
namespace {

constexpr std::size_t MOST_WAITING = 64 << 10; ///< bytes
constexpr std::chrono::milliseconds LONGEST_WAIT(20);

bool meansStandardOutput(const std::string& path)
{
    // Opened by these names, a file that the shell has opened would be written from its start a second time.
    static constexpr std::array<std::string_view, 4> NAMES{"-", "/dev/stdout", "/dev/fd/1", "/proc/self/fd/1"};
    return std::find(NAMES.begin(), NAMES.end(), path) != NAMES.end();
}

std::string folderOf(const std::string& path)
{
    const std::size_t end = path.rfind('/') + 1;
    return end == 0 ? "." : path.substr(0, end);
}

} // namespace

PacketFile::PacketFile(std::string path) : m_Path(std::move(path)), m_StandardOutput(meansStandardOutput(m_Path))
{
    const int descriptor = m_StandardOutput ? ::fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1)
                                            : ::open(m_Path.c_str(), O_WRONLY | O_CLOEXEC);
    if (descriptor != -1) {
        m_FD = LinuxCppUtil::ownFD(descriptor);
        struct stat status = {};
        m_Regular = ::fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode);
        return;
    }
    // A file that is not there yet is made for the first packet.
    struct stat link = {};
    if (errno != ENOENT || m_Path.empty())
        raise("open", errno);
    if (::lstat(m_Path.c_str(), &link) != 0 &&
        ::faccessat(AT_FDCWD, folderOf(m_Path).c_str(), W_OK | X_OK, AT_EACCESS) != 0)
        raise("open", errno);
}

void PacketFile::raise(const char* attempt, int error) const
{
    OSL_RAISE(CppUtil::FileSystemError,
              fmt::format("Cannot {} {}: {} (errno {})", attempt, m_StandardOutput ? "standard output" : m_Path,
                          std::strerror(error), error));
}

void PacketFile::begin()
{
    if (!m_FD) {
        const int descriptor = ::open(m_Path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
        if (descriptor == -1)
            raise("open", errno);
        m_FD = LinuxCppUtil::ownFD(descriptor);
        m_Regular = true;
    } else if (m_Regular && !m_StandardOutput && ::ftruncate(*m_FD, 0) != 0) {
        raise("empty", errno);
    }
}

void PacketFile::put(std::span<const uint8_t> packet, Clock::time_point now)
{
    if (m_PacketSize == 0) {
        begin();
        m_PacketSize = packet.size();
        m_Waiting.reserve(MOST_WAITING);
    }
    if (m_Waiting.empty())
        m_WaitingSince = now;
    m_Waiting.insert(m_Waiting.end(), packet.begin(), packet.end());
    if (m_Waiting.size() + packet.size() > MOST_WAITING)
        write();
}

void PacketFile::writeLate(Clock::time_point now)
{
    if (!m_Waiting.empty() && now - m_WaitingSince >= LONGEST_WAIT)
        write();
}

void PacketFile::write()
{
    for (std::span<const uint8_t> left = m_Waiting; !left.empty();) {
        const ssize_t count = ::write(*m_FD, left.data(), left.size());
        if (count == -1 && errno == EINTR)
            continue;
        if (count <= 0) {
            const int error = count == -1 ? errno : ENOSPC;
            m_Waiting.clear();
            cutBack();
            raise("write", error);
        }
        m_BytesWritten += static_cast<uint64_t>(count);
        left = left.subspan(static_cast<std::size_t>(count));
    }
    m_Waiting.clear();
}

/// Takes the beginning of a packet off the end of a regular file, as long as nobody has added to it meanwhile.
void PacketFile::cutBack()
{
    const auto part = static_cast<off_t>(m_BytesWritten % m_PacketSize);
    struct stat status = {};
    if (!m_Regular || ::fstat(*m_FD, &status) != 0 || ::lseek(*m_FD, 0, SEEK_CUR) != status.st_size)
        return;
    if (::ftruncate(*m_FD, status.st_size - part) == 0)
        ::lseek(*m_FD, -part, SEEK_CUR);
}

void PacketFile::finish()
{
    if (!m_FD)
        return;
    write();
    const std::unique_ptr<int> descriptor(m_FD.release());
    if (::close(*descriptor) != 0)
        raise("write", errno);
}

} // namespace Osl::Utils
