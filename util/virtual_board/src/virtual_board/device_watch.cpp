#include "virtual_board/device_watch.h"

#include <array>
#include <sys/inotify.h>
#include <unistd.h>

namespace Osl::VirtualBoard {

DeviceWatch::DeviceWatch(const std::vector<std::filesystem::path>& files)
{
    const int descriptor = ::inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    if (descriptor < 0)
        return;
    m_Notifications = LinuxCppUtil::ownFD(descriptor);
    m_Works = true;
    for (const std::filesystem::path& file : files)
        m_Works &= ::inotify_add_watch(descriptor, file.c_str(), IN_OPEN | IN_CLOSE) >= 0;
}

/// Who has a device open cannot be counted: the system makes one event of two that are alike.
bool DeviceWatch::somethingHappened()
{
    alignas(inotify_event) std::array<char, 4096> events{};
    bool any = false;
    while (m_Notifications && ::read(*m_Notifications, events.data(), events.size()) > 0)
        any = true;
    return any;
}

} // namespace Osl::VirtualBoard
