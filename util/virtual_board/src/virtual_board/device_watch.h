#pragma once

#include <osl/linutils/raii_filedescriptors.h>

#include <cstdint>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace Osl::VirtualBoard {

/// Tells when somebody opens, closes, moves or removes one of the board's devices, as a kernel driver would know:
/// nothing signals a change of the memory itself.
class DeviceWatch
{
public:
    /// Watches files that are there. Where the system does not let it, works() returns false.
    explicit DeviceWatch(const std::vector<std::filesystem::path>& files);

    /// Whether anything has happened since the last call.
    bool somethingHappened();

    /// Whether somebody has opened the file, or closed it, between the last two calls of somethingHappened(). Who has
    /// it open cannot be counted from that: the system makes one event of two that are alike.
    bool wasOpened(const std::filesystem::path& file) const;
    bool wasClosed(const std::filesystem::path& file) const;
    /// Whether it was opened, and not closed since.
    bool wasOpenedLast(const std::filesystem::path& file) const;

    bool works() const { return m_Works; }
    int descriptor() const { return m_Notifications ? *m_Notifications : -1; } ///< readable when something happened

private:
    LinuxCppUtil::UniqueFD m_Notifications;
    std::map<int, std::string> m_Files;         ///< by the system's number of the watch
    std::map<std::string, uint32_t> m_Happened; ///< by file, what events
    std::map<std::string, uint32_t> m_Last;     ///< by file, the last opening or closing among them
    bool m_Works = false;
};

} // namespace Osl::VirtualBoard
