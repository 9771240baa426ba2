#pragma once

#include <osl/linutils/raii_filedescriptors.h>
#include <osl/ts_basics/ll_tspackets.h>
#include <osl/ts_streaming/interfaces.h>

#include <array>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <string>

namespace Osl::Ts::Streaming {

/// Packets of a file or pipe of 188-byte packets. A cut-off last packet is dropped and counted. A pipe, or any input
/// but a regular file, may be live: what has come from it is handed on after MAX_GATHERING, however little it is.
class FileReader : public ITsReader
{
public:
    enum class AtEnd { STOP, START_AGAIN };

    /// Longest time that the first packet of a buffer waits for others to come from a pipe.
    static constexpr std::chrono::milliseconds MAX_GATHERING{20};

    /// `name` is what messages call the file. `stopped`, asked while a pipe has nothing to read, ends the data when it
    /// answers true. Raises FileSystemError for a folder and an empty file, InvalidArgumentError when START_AGAIN is
    /// asked of what cannot be rewound.
    FileReader(LinuxCppUtil::UniqueFD file, std::string name, AtEnd atEnd, std::function<bool()> stopped = {});

    /// Raises ReadException: END_OF_DATA, or NOT_ACCESSIBLE after a failed read and when the file became shorter than
    /// it was when opened.
    std::span<uint8_t> read(std::span<uint8_t> buffer) override;
    void cancel() override { m_Cancelled = true; }

    /// Size of a regular file when it was opened; 0 for a pipe.
    uint64_t fileBytes() const { return m_FileBytes; }
    // The rest is for use after the reading has ended.
    uint64_t totalBytes() const { return m_TotalBytes; } ///< handed out so far
    /// Bytes of a cut-off packet that are dropped at the end.
    uint64_t droppedBytes() const;
    bool failed() const { return !m_Failure.empty(); }
    /// What failed, with file, position and errno; empty when nothing did.
    const std::string& failure() const { return m_Failure; }

private:
    using Clock = std::chrono::steady_clock;
    enum class Wait { DATA, ENOUGH, END };

    Wait waitForData(Clock::time_point giveUp) const;
    std::size_t takeCutPacket(std::span<uint8_t> buffer);
    void keepCutPacket(std::span<const uint8_t> filled);
    [[noreturn]] void fail(std::string why);

    LinuxCppUtil::UniqueFD m_File;
    std::string m_Name;
    bool m_Loop;
    std::function<bool()> m_Stopped;
    bool m_Regular;
    bool m_EndReached = false;
    uint64_t m_FileBytes = 0;
    uint64_t m_Position = 0; ///< in a regular file
    uint64_t m_TotalBytes = 0;
    std::array<uint8_t, TS_SIZE> m_CutPacket{}; ///< the start of a packet of which not all has come yet
    std::size_t m_CutBytes = 0;
    std::string m_Failure;
    std::atomic<bool> m_Cancelled = false;
};

} // namespace Osl::Ts::Streaming
