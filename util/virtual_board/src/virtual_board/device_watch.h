#pragma once

#include <osl/linutils/raii_filedescriptors.h>

#include <filesystem>
#include <vector>

namespace Osl::VirtualBoard {

/// Tells when somebody opens or closes one of the board's devices, as a kernel driver would know: nothing signals a
/// change of the memory itself.
class DeviceWatch
{
public:
    /// Watches files that are there. Where the system does not let it, works() returns false.
    explicit DeviceWatch(const std::vector<std::filesystem::path>& files);

    /// Whether anything has happened since the last call.
    bool somethingHappened();

    bool works() const { return m_Works; }
    int descriptor() const { return m_Notifications ? *m_Notifications : -1; } ///< readable when something happened

private:
    LinuxCppUtil::UniqueFD m_Notifications;
    bool m_Works = false;
};

} // namespace Osl::VirtualBoard
