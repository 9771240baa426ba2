#include "virtual_board/port_users.h"

#include <osl/userspace_drivers/drivers/zeb/ts/packetiodriver.h>

#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>
#include <sys/ptrace.h>
#include <sys/stat.h>
#include <sys/user.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace Osl::VirtualBoard {

using namespace std::chrono_literals;
namespace fs = std::filesystem;
namespace PktIoReg = Drivers::Zeb::PktIoReg;

namespace {

/// A command locks the device soon after it has opened it.
constexpr auto FIRST_LOOKS = 1ms;
constexpr int LOOKS_SPREAD = 16; ///< the next look comes after this part of the time since the opening
constexpr auto LAST_LOOK = 5s;

long trace(int request, pid_t thread, uintptr_t address = 0, uintptr_t data = 0)
{
    return ::ptrace(static_cast<__ptrace_request>(request), thread, address, data);
}

bool isOwnChild(pid_t process)
{
    std::ifstream status(fmt::format("/proc/{}/status", process));
    const std::string parent = fmt::format("PPid:\t{}", ::getpid());
    for (std::string line; std::getline(status, line);)
        if (line == parent)
            return true;
    return false;
}

bool stopsProcess(int signal)
{
    return signal == SIGSTOP || signal == SIGTSTP || signal == SIGTTIN || signal == SIGTTOU;
}

/// Whether the thread stands at a stop that was asked for here, not at a trap of its own.
bool isWatchStop(pid_t thread)
{
    siginfo_t info = {};
    return trace(PTRACE_GETSIGINFO, thread, 0, reinterpret_cast<uintptr_t>(&info)) == 0 && info.si_code == TRAP_HWBKPT;
}

#ifdef __x86_64__
/// Has the thread stop behind every store to these two words.
bool setWatches(pid_t thread, uintptr_t first, uintptr_t second)
{
    constexpr uintptr_t ENABLE_BOTH = 0b101;
    constexpr uintptr_t STORES_OF_4_BYTES = 0b1101;
    constexpr uintptr_t CONTROL = ENABLE_BOTH | STORES_OF_4_BYTES << 16 | STORES_OF_4_BYTES << 20;
    const auto set = [thread](std::size_t number, uintptr_t value) {
        const uintptr_t place = offsetof(user, u_debugreg) + number * sizeof(user::u_debugreg[0]);
        return trace(PTRACE_POKEUSER, thread, place, value) == 0;
    };
    return set(0, first) && set(1, second) && set(7, CONTROL);
}
#else
bool setWatches(pid_t, uintptr_t, uintptr_t)
{
    errno = ENOTSUP;
    return false;
}
#endif

} // namespace

PortUsers::PortUsers(fs::path device, UsersAre where, std::function<void()> act, Complain complain)
    : m_Device(std::move(device)),
      m_Where(where),
      m_Act(std::move(act)),
      m_Complain(std::move(complain))
{
}

bool PortUsers::has(bool DeviceUser::*lock) const
{
    const auto holds = [lock](const auto& task) { return task.second.user.*lock; };
    return std::any_of(m_Tasks.begin(), m_Tasks.end(), holds) &&
           std::all_of(m_Tasks.begin(), m_Tasks.end(),
                       [&](const auto& task) { return task.second.armed || !holds(task); });
}

void PortUsers::lookFor(Clock::time_point now)
{
    m_Opened = m_NextLook = now;
    m_LocksSeen.clear();
}

/// The kernel's list of them, which costs far less than forEachUser() and says of some locks not whose they are.
std::string PortUsers::locksOnDevice() const
{
    struct stat status = {};
    if (::stat(m_Device.c_str(), &status) != 0)
        return "";
    const std::string inode = fmt::format(":{} ", status.st_ino);
    std::ifstream locks("/proc/locks");
    std::string found;
    for (std::string line; std::getline(locks, line);)
        if (line.find(inode) != std::string::npos)
            found += line.substr(line.find(' ')) + '\n';
    return found;
}

void PortUsers::look()
{
    const std::string locks = locksOnDevice();
    if (std::exchange(m_LocksSeen, locks) == locks)
        return;
    auto left = std::count(locks.begin(), locks.end(), '\n');
    forEachUser(m_Device, m_Where, [&](const DeviceUser& user) {
        if (user.mapping != 0 && (user.holdsFlock || user.holdsRecordLock) && !m_Tasks.contains(user.process))
            follow(user);
        left -= (user.holdsFlock ? 1 : 0) + (user.holdsRecordLock ? 1 : 0);
        return left > 0;
    });
}

void PortUsers::refuse(pid_t process, const char* reason)
{
    if (m_Refused.insert(process).second)
        m_Complain(fmt::format("packet port: process {} gets and sends no packets by registers, since it cannot be "
                               "followed: {}",
                               process, reason));
}

void PortUsers::follow(const DeviceUser& user)
{
    std::error_code error;
    for (fs::directory_iterator at(fmt::format("/proc/{}/task", user.process), error), end; !error && at != end;
         at.increment(error)) {
        const auto thread = static_cast<pid_t>(std::strtol(at->path().filename().c_str(), nullptr, 10));
        if (trace(PTRACE_SEIZE, thread) != 0) {
            if (errno != ESRCH)
                refuse(user.process, std::strerror(errno));
            continue;
        }
        trace(PTRACE_INTERRUPT, thread);
        m_Tasks[thread] = {.user = user, .ownChild = thread == user.process && isOwnChild(thread)};
    }
}

void PortUsers::onStop(pid_t thread, Task& task, int status)
{
    const auto place = [&task](uint32_t word) { return task.user.mapping + word * sizeof(uint32_t); };
    if (!task.armed) {
        task.armed = setWatches(thread, place(PktIoReg::RX_CONTROL), place(PktIoReg::TX_CONTROL));
        if (!task.armed)
            refuse(task.user.process, std::strerror(errno));
    }
    constexpr int EVENT_SHIFT = 8;
    int signal = status & ((1 << EVENT_SHIFT) - 1);
    if (status >> EVENT_SHIFT == PTRACE_EVENT_STOP) {
        if (stopsProcess(signal)) {
            trace(PTRACE_LISTEN, thread); // it is to stand still, as if nobody followed it
            return;
        }
        signal = 0;
    } else if (signal == SIGTRAP && isWatchStop(thread)) {
        m_Act();
        signal = 0;
    }
    trace(PTRACE_CONT, thread, 0, static_cast<uintptr_t>(signal));
}

/// Looks before it takes what there is to know of the thread.
bool PortUsers::serveTask(Tasks::iterator task, bool& ended)
{
    const auto [thread, state] = *task;
    constexpr int ANYTHING = WEXITED | WSTOPPED | WNOHANG | __WALL;
    siginfo_t info = {};
    ended = ::waitid(P_PID, static_cast<id_t>(thread), &info, ANYTHING | WNOWAIT) != 0;
    if (ended || info.si_pid == 0)
        return false;
    const bool stopped = info.si_code == CLD_TRAPPED || info.si_code == CLD_STOPPED;
    ended = !stopped;
    if (stopped || !state.ownChild)
        ::waitid(P_PID, static_cast<id_t>(thread), &info, ANYTHING);
    if (stopped)
        onStop(thread, task->second, info.si_status);
    return true;
}

bool PortUsers::serve(Clock::time_point now)
{
    if (now >= m_NextLook) {
        look();
        const auto since = now - m_Opened;
        m_NextLook = since < LAST_LOOK ? now + std::max<Clock::duration>(FIRST_LOOKS, since / LOOKS_SPREAD)
                                       : Clock::time_point::max();
    }
    bool busy = false;
    for (auto task = m_Tasks.begin(); task != m_Tasks.end();) {
        bool ended = false;
        while (serveTask(task, ended) && !ended)
            busy = true;
        if (ended)
            m_LocksSeen.clear(); // its lock may be another's by now
        task = ended ? m_Tasks.erase(task) : std::next(task);
    }
    return busy;
}

} // namespace Osl::VirtualBoard
