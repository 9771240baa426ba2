#pragma once

#include "virtual_board/device_users.h"
#include "virtual_board/reporting.h"

#include <chrono>
#include <csignal>
#include <filesystem>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <sys/types.h>

namespace Osl::VirtualBoard {

/// The processes that transfer packets by the packet port's registers, which are known by the locks that they hold on
/// its device. Memory tells nobody of an access, so each is traced (ptrace) and stops for a moment behind every store
/// to a control register, until the board has acted on it. Whoever holds no lock is left alone.
class PortUsers
{
public:
    using Clock = std::chrono::steady_clock;

    /// `act` is called at every stop. Nothing is raised for a process that cannot be followed: it is complained of, and
    /// counts as none.
    PortUsers(std::filesystem::path device, UsersAre where, std::function<void()> act, Complain complain);

    /// Somebody opened the device: looks, for a while, for new users.
    void lookFor(Clock::time_point now);

    /// Follows them; to be called often, and after each SIGCHLD. Returns whether there was anything to do.
    bool serve(Clock::time_point now);

    bool areReceiving() const { return has(&DeviceUser::holdsFlock); }
    bool areSending() const { return has(&DeviceUser::holdsRecordLock); }

private:
    struct Task
    {
        DeviceUser user;
        bool ownChild = false; ///< whose end is for another to learn
        bool armed = false;
    };
    using Tasks = std::map<pid_t, Task>; ///< by thread

    bool has(bool DeviceUser::*lock) const;
    std::string locksOnDevice() const;
    void look();
    void follow(const DeviceUser& user);
    void onStop(pid_t thread, Task& task, int status);
    void refuse(pid_t process, const char* reason);
    bool serveTask(Tasks::iterator task, bool& ended);

    std::filesystem::path m_Device;
    UsersAre m_Where;
    std::function<void()> m_Act;
    Complain m_Complain;
    Tasks m_Tasks;
    std::set<pid_t> m_Refused; ///< processes that cannot be traced
    std::string m_LocksSeen;   ///< at the last look
    Clock::time_point m_Opened;
    Clock::time_point m_NextLook = Clock::time_point::max();
};

} // namespace Osl::VirtualBoard
