#pragma once

#include <osl/linutils/raii_filedescriptors.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace Osl::Utils {

/// A file, pipe or device that takes captured packets, all of one size. A regular file keeps its old content until the
/// first packet comes, and never ends within a packet. Errors are CppUtil::FileSystemError naming file and reason.
class PacketFile
{
public:
    using Clock = std::chrono::steady_clock;

    /// "-" is standard output. Raises when it can be told already that nothing can be written there.
    explicit PacketFile(std::string path);

    bool isStandardOutput() const { return m_StandardOutput; }

    /// Takes a packet at `now`; it is written when it has company enough, or by `writeLate` or `finish`.
    void put(std::span<const uint8_t> packet, Clock::time_point now);
    /// Writes the packets when the first of them has waited long enough for a reader at the other end of a pipe; to be
    /// called often.
    void writeLate(Clock::time_point now);
    /// Writes the rest and closes.
    void finish();

    uint64_t written() const { return m_PacketSize == 0 ? 0 : m_BytesWritten / m_PacketSize; } ///< packets

private:
    void begin();
    void write();
    void cutBack();
    [[noreturn]] void raise(const char* attempt, int error) const;

    std::string m_Path;
    bool m_StandardOutput;
    LinuxCppUtil::UniqueFD m_FD; ///< empty for a file that is not there yet
    bool m_Regular = false;
    std::size_t m_PacketSize = 0; ///< bytes; 0 before the first packet
    std::vector<uint8_t> m_Waiting;
    Clock::time_point m_WaitingSince;
    uint64_t m_BytesWritten = 0;
};

} // namespace Osl::Utils
