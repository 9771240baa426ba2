#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace Osl::Drivers::Zeb {

/// The monitor of one CAM slot: a table of PIDs to watch, and for each a packet and an error counter. Every operation
/// reads the current table, and changes it in one write or not at all. Raises CppUtil::FileSystemError when an
/// attribute cannot be read or written.
class CamMonitor
{
public:
    static constexpr uint32_t SLOTS = 8;
    static constexpr uint32_t DISABLED_PID = 0x1FFF; ///< of an entry that watches nothing

    struct Entry
    {
        uint32_t pid;
        uint32_t packets;
        uint32_t errors;
    };

    /// `root` precedes every path. Raises CppUtil::InvalidArgumentError unless `slot` is one of 0..7.
    explicit CamMonitor(uint32_t slot, const std::string& root = {});

    std::vector<Entry> read() const;

    /// Watches `pid`, which takes the first free entry unless it is there already. Raises InvalidArgumentError for a
    /// PID outside 0x20..0x1FFE, ZebDriverError when no entry is free.
    void insert(uint32_t pid);

    /// No longer watches `pid`; no error when it was not watched. Raises InvalidArgumentError as insert() does.
    void remove(uint32_t pid);

    /// Disables every entry; the counters stay.
    void clear();

private:
    uint32_t size() const;
    std::vector<uint32_t> table(const char* attribute, uint32_t count) const;
    void writePids(const std::vector<uint32_t>& pids) const;

    std::string m_Folder;
};

} // namespace Osl::Drivers::Zeb
