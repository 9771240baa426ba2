#include "virtual_board/device_watch.h"

#include <array>
#include <cstring>
#include <sys/inotify.h>
#include <unistd.h>
#include <utility>

namespace Osl::VirtualBoard {

DeviceWatch::DeviceWatch(const std::vector<std::filesystem::path>& files)
{
    const int descriptor = ::inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    if (descriptor < 0)
        return;
    m_Notifications = LinuxCppUtil::ownFD(descriptor);
    m_Works = true;
    for (const std::filesystem::path& file : files) {
        const int watch = ::inotify_add_watch(descriptor, file.c_str(),
                                              IN_OPEN | IN_CLOSE | IN_ATTRIB | IN_MOVE_SELF | IN_DELETE_SELF);
        m_Works &= watch >= 0;
        m_Files[watch] = file;
    }
}

bool DeviceWatch::somethingHappened()
{
    alignas(inotify_event) std::array<char, 4096> events{};
    m_Happened.clear();
    for (ssize_t count = 0; m_Notifications && (count = ::read(*m_Notifications, events.data(), events.size())) > 0;) {
        inotify_event event{};
        for (std::size_t at = 0; std::cmp_less(at, count); at += sizeof event + event.len) {
            std::memcpy(&event, &events[at], sizeof event);
            m_Happened[m_Files[event.wd]] |= event.mask;
            if ((event.mask & (IN_OPEN | IN_CLOSE)) != 0)
                m_Last[m_Files[event.wd]] = event.mask;
        }
    }
    return !m_Happened.empty();
}

bool DeviceWatch::wasOpened(const std::filesystem::path& file) const
{
    const auto found = m_Happened.find(file);
    return found != m_Happened.end() && (found->second & IN_OPEN) != 0;
}

bool DeviceWatch::wasOpenedLast(const std::filesystem::path& file) const
{
    return wasOpened(file) && (m_Last.at(file) & IN_OPEN) != 0;
}

bool DeviceWatch::wasClosed(const std::filesystem::path& file) const
{
    const auto found = m_Happened.find(file);
    return found != m_Happened.end() && (found->second & IN_CLOSE) != 0;
}

} // namespace Osl::VirtualBoard
