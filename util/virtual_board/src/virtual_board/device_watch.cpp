#include "virtual_board/device_watch.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <sys/inotify.h>
#include <unistd.h>

namespace Osl::VirtualBoard {

DeviceWatch::DeviceWatch(const std::vector<std::filesystem::path>& files)
{
    const int descriptor = ::inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    m_Blind = descriptor < 0;
    if (m_Blind)
        return;
    m_Notifications = LinuxCppUtil::ownFD(descriptor);
    for (const std::filesystem::path& file : files) {
        const int watch = ::inotify_add_watch(descriptor, file.c_str(), IN_OPEN | IN_CLOSE);
        m_Blind |= watch < 0;
        m_Users[watch] = 0;
    }
}

bool DeviceWatch::update()
{
    if (!m_Notifications)
        return false;
    alignas(inotify_event) std::array<char, 4096> buffer;
    bool any = false;
    for (;;) {
        const ssize_t count = ::read(*m_Notifications, buffer.data(), buffer.size());
        if (count <= 0)
            return any;
        any = true;
        for (std::size_t at = 0; at < static_cast<std::size_t>(count);) {
            inotify_event event{};
            std::memcpy(&event, &buffer[at], sizeof event);
            m_Blind |= (event.mask & IN_Q_OVERFLOW) != 0;
            if ((event.mask & IN_OPEN) != 0)
                ++m_Users[event.wd];
            if ((event.mask & IN_CLOSE) != 0)
                --m_Users[event.wd];
            at += sizeof event + event.len;
        }
    }
}

bool DeviceWatch::inUse() const
{
    return m_Blind || std::any_of(m_Users.begin(), m_Users.end(), [](const auto& user) { return user.second > 0; });
}

} // namespace Osl::VirtualBoard
