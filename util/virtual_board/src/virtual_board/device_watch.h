#pragma once

#include <osl/linutils/raii_filedescriptors.h>

#include <cstdint>
#include <filesystem>
#include <map>
#include <vector>

namespace Osl::VirtualBoard {

/// Watches who has the board's devices open, as a kernel driver would know: while nobody has, their memory cannot
/// change, and the board need not look at it.
class DeviceWatch
{
public:
    /// Watches files that are there. Where the system does not let it, they all count as in use for ever.
    explicit DeviceWatch(const std::vector<std::filesystem::path>& files);

    /// Takes in what has happened. Answers whether anything has.
    bool update();

    /// Whether anybody has a watched file open. A file stays open as long as it is mapped.
    bool inUse() const;

    int descriptor() const { return m_Notifications ? *m_Notifications : -1; } ///< readable when something happened

private:
    LinuxCppUtil::UniqueFD m_Notifications;
    std::map<int, int> m_Users; ///< by watch
    bool m_Blind = false;       ///< events were lost, or there are none
};

} // namespace Osl::VirtualBoard
