#include <osl/ts_basics/ll_tspackets.h>
#include <osl/ts_streaming/inputs/file_reader.h>

#include <fmt/format.h>

#include <cerrno>
#include <cstring>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Osl::Ts::Streaming {

FileReader::FileReader(LinuxCppUtil::UniqueFD file, std::string name, AtEnd atEnd, std::function<bool()> stopped)
    : m_File(std::move(file)),
      m_Name(std::move(name)),
      m_Loop(atEnd == AtEnd::START_AGAIN),
      m_Stopped(std::move(stopped))
{
    struct stat status = {};
    if (::fstat(*m_File, &status) != 0)
        OSL_RAISE(CppUtil::FileSystemError, fmt::format("Cannot examine {}: {}", m_Name, std::strerror(errno)));
    if (S_ISDIR(status.st_mode))
        OSL_RAISE(CppUtil::FileSystemError, fmt::format("{} is a folder, not a file of TS packets", m_Name));
    m_Regular = S_ISREG(status.st_mode);
    if (!m_Regular) {
        if (m_Loop)
            OSL_RAISE(CppUtil::InvalidArgumentError,
                      fmt::format("{} cannot be sent in a loop: only a file can be rewound", m_Name));
        return;
    }
    // Standard input may be a file of which a part was read before.
    const off_t start = ::lseek(*m_File, 0, SEEK_CUR);
    m_Position = m_Loop || start < 0 ? 0 : static_cast<uint64_t>(start);
    m_FileBytes = static_cast<uint64_t>(status.st_size);
    if (m_FileBytes < m_Position + TS_SIZE)
        OSL_RAISE(CppUtil::FileSystemError, fmt::format("{} holds {} bytes, not even one TS packet of {} bytes", m_Name,
                                                        m_FileBytes - std::min(m_FileBytes, m_Position), TS_SIZE));
}

uint64_t FileReader::droppedBytes() const { return m_Loop ? m_FileBytes % TS_SIZE : m_DroppedBytes; }

void FileReader::fail(std::string why)
{
    m_Failure = std::move(why);
    OSL_RAISE(ReadException, "File no longer accesible", ReadReason::NOT_ACCESSIBLE);
}

/// False when the data is to end here instead.
bool FileReader::waitForData() const
{
    constexpr int SLICE_MS = 50;
    while (!m_Regular) {
        if (m_Cancelled || (m_Stopped && m_Stopped()))
            return false;
        pollfd file{.fd = *m_File, .events = POLLIN, .revents = 0};
        if (::poll(&file, 1, SLICE_MS) > 0)
            return true;
    }
    return !m_Cancelled;
}

std::span<uint8_t> FileReader::read(std::span<uint8_t> buffer)
{
    if (m_EndReached)
        OSL_RAISE(ReadException, "File contains no more data", ReadReason::END_OF_DATA);
    // In a loop the file's length is fixed, so that all passes are equal; else what was appended meanwhile counts too.
    const uint64_t passBytes = m_FileBytes - m_FileBytes % TS_SIZE;
    std::size_t filled = 0;
    while (filled < buffer.size()) {
        if (!waitForData()) {
            m_EndReached = true;
            break;
        }
        std::span<uint8_t> rest = buffer.subspan(filled);
        if (m_Loop) {
            if (m_Position == passBytes)
                m_Position = 0;
            rest = rest.first(static_cast<std::size_t>(std::min<uint64_t>(rest.size(), passBytes - m_Position)));
        }
        const ssize_t count = m_Regular ? ::pread(*m_File, rest.data(), rest.size(), static_cast<off_t>(m_Position))
                                        : ::read(*m_File, rest.data(), rest.size());
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0) {
            const int error = count < 0 ? errno : 0;
            // What was read before goes out first; the next call meets the failure again.
            if (const std::size_t cut = filled % TS_SIZE; filled > cut && (error != 0 || m_Position < m_FileBytes)) {
                m_Position -= cut;
                filled -= cut;
                break;
            }
            if (error != 0)
                fail(fmt::format("reading {} at byte {} failed: {} (errno {})", m_Name, m_TotalBytes + filled,
                                 std::strerror(error), error));
            if (m_Position < m_FileBytes)
                fail(fmt::format("{} ends at byte {} now, it had {} bytes when it was opened", m_Name, m_Position,
                                 m_FileBytes));
            m_EndReached = true;
            break;
        }
        filled += static_cast<std::size_t>(count);
        m_Position += static_cast<uint64_t>(count);
    }
    m_DroppedBytes = filled % TS_SIZE;
    filled -= filled % TS_SIZE;
    if (filled == 0)
        OSL_RAISE(ReadException, "File contains no more data", ReadReason::END_OF_DATA);
    m_TotalBytes += filled;
    return buffer.first(filled);
}

} // namespace Osl::Ts::Streaming
