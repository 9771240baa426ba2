#include <osl/ts_basics/ll_tspackets.h>
#include <osl/ts_streaming/inputs/file_reader.h>

#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

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

uint64_t FileReader::droppedBytes() const { return m_Loop ? m_FileBytes % TS_SIZE : m_CutBytes; }

void FileReader::fail(std::string why)
{
    m_Failure = std::move(why);
    OSL_RAISE(ReadException, "File no longer accesible", ReadReason::NOT_ACCESSIBLE);
}

/// Waits until the file has something to read, or its end; ENOUGH when it has not by `giveUp`.
FileReader::Wait FileReader::waitForData(Clock::time_point giveUp) const
{
    using std::chrono::milliseconds;
    constexpr milliseconds SLICE(50);
    if (m_Regular)
        return m_Cancelled ? Wait::END : Wait::DATA;
    for (;;) {
        if (m_Cancelled || (m_Stopped && m_Stopped()))
            return Wait::END;
        const auto now = Clock::now();
        if (now >= giveUp)
            return Wait::ENOUGH;
        const auto slice = std::min(SLICE, std::chrono::ceil<milliseconds>(giveUp - now));
        pollfd file{.fd = *m_File, .events = POLLIN, .revents = 0};
        if (::poll(&file, 1, static_cast<int>(slice.count())) > 0)
            return Wait::DATA;
    }
}

/// Puts the start of a packet, which came with the buffer before, to the start of `buffer`; answers its bytes.
std::size_t FileReader::takeCutPacket(std::span<uint8_t> buffer)
{
    std::copy_n(m_CutPacket.begin(), m_CutBytes, buffer.begin());
    return std::exchange(m_CutBytes, 0);
}

void FileReader::keepCutPacket(std::span<const uint8_t> filled)
{
    m_CutBytes = filled.size() % TS_SIZE;
    std::copy(filled.end() - static_cast<std::ptrdiff_t>(m_CutBytes), filled.end(), m_CutPacket.begin());
}

std::span<uint8_t> FileReader::read(std::span<uint8_t> buffer)
{
    if (m_EndReached)
        OSL_RAISE(ReadException, "File contains no more data", ReadReason::END_OF_DATA);
    // In a loop the file's length is fixed, so that all passes are equal; else what was appended meanwhile counts too.
    const uint64_t passBytes = m_FileBytes - m_FileBytes % TS_SIZE;
    std::size_t filled = takeCutPacket(buffer);
    Clock::time_point giveUp = Clock::time_point::max();
    while (filled < buffer.size()) {
        const Wait wait = waitForData(giveUp);
        m_EndReached = wait == Wait::END;
        if (wait != Wait::DATA)
            break;
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
            if (filled >= TS_SIZE && (error != 0 || m_Position < m_FileBytes))
                break;
            keepCutPacket(buffer.first(filled)); // for the next try
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
        if (!m_Regular && filled >= TS_SIZE && giveUp == Clock::time_point::max())
            giveUp = Clock::now() + MAX_GATHERING;
    }
    keepCutPacket(buffer.first(filled));
    filled -= m_CutBytes;
    if (filled == 0)
        OSL_RAISE(ReadException, "File contains no more data", ReadReason::END_OF_DATA);
    m_TotalBytes += filled;
    return buffer.first(filled);
}

} // namespace Osl::Ts::Streaming
