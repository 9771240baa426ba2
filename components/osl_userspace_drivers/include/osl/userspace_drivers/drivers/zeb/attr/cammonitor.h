#pragma once

#include <osl/linutils/attribute_file.h>

#include <cstdint>
#include <string>
#include <vector>

namespace Osl::Drivers::Zeb {

/// The monitor of one CAM slot: a table of PIDs to watch, and for each a packet and an error counter. Every operation
/// reads the current table, and changes it in one write or not at all; changes exclude each other. Raises
/// CppUtil::FileSystemError when an attribute cannot be read or written, also when the board lacks the slot, and
/// LinuxCppUtil::LockError when another process keeps the table.
class CamMonitor
{
public:
    static constexpr uint32_t DISABLED_PID = 0x1FFF; ///< of an entry that watches nothing

    struct Entry
    {
        uint32_t pid;
        uint32_t packets;
        uint32_t errors;
    };

    /// `patience` is for changes.
    explicit CamMonitor(uint32_t slot, LinuxCppUtil::LockPatience patience = {});

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
    LinuxCppUtil::AttributeLock lockPids() const;
    void writePids(const std::vector<uint32_t>& pids) const;

    std::string m_Folder;
    LinuxCppUtil::LockPatience m_Patience;
};

} // namespace Osl::Drivers::Zeb
