#include <osl/linutils/interruptible.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <fcntl.h>
#include <linux/magic.h>
#include <optional>
#include <poll.h>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <unistd.h>

namespace Osl::LinuxCppUtil::Interruptible {
namespace {

/// Longest time between two looks at the flag, and so between the wish to stop and the end of a wait.
constexpr int SLICE_MS = 40;

std::atomic<const std::atomic<bool>*> g_Flag = nullptr;

/// Waits until a call would not; false when the user ends that. `afterStopMs` is how long a wait that begins after the
/// stop may still take.
bool waitFor(int descriptor, short events, int afterStopMs)
{
    for (;;) {
        const bool stopped = stopRequested();
        pollfd ready{.fd = descriptor, .events = events, .revents = 0};
        const int count = ::poll(&ready, 1, stopped ? afterStopMs : SLICE_MS);
        if (count > 0 || (count == -1 && errno != EINTR))
            return true; // a failure is the call's to report
        if (count == 0 && stopped) {
            errno = ECANCELED;
            return false;
        }
    }
}

/// Whether opening it can wait for a partner. Pipes without a name, which have paths below /proc, never wait.
bool isNamedPipe(const std::string& path)
{
    struct stat status = {};
    struct statfs system = {};
    return ::stat(path.c_str(), &status) == 0 && S_ISFIFO(status.st_mode) && ::statfs(path.c_str(), &system) == 0 &&
           system.f_type != PIPEFS_MAGIC;
}

} // namespace

void stopOn(const std::atomic<bool>* flag) { g_Flag = flag; }

bool stopRequested()
{
    const std::atomic<bool>* const flag = g_Flag;
    return flag != nullptr && *flag;
}

int open(const std::string& path, int flags, mode_t mode)
{
    flags |= O_CLOEXEC;
    if ((flags & O_NONBLOCK) != 0 || (flags & O_ACCMODE) == O_RDWR || !isNamedPipe(path)) {
        const InterruptedBySignals interrupted;
        int descriptor = ::open(path.c_str(), flags, mode);
        while (descriptor == -1 && errno == EINTR && !stopRequested())
            descriptor = ::open(path.c_str(), flags, mode);
        if (descriptor == -1 && errno == EINTR)
            errno = ECANCELED;
        return descriptor;
    }
    for (;;) {
        const int descriptor = ::open(path.c_str(), flags | O_NONBLOCK, mode);
        if (descriptor != -1) {
            ::fcntl(descriptor, F_SETFL, ::fcntl(descriptor, F_GETFL) & ~O_NONBLOCK);
            return descriptor;
        }
        if (errno != ENXIO) // the pipe has no reader yet, which no call waits for without blocking
            return -1;
        if (stopRequested()) {
            errno = ECANCELED;
            return -1;
        }
        ::poll(nullptr, 0, SLICE_MS / 2);
    }
}

ssize_t read(int descriptor, void* buffer, std::size_t length)
{
    ssize_t count = -1;
    do {
        if (!waitFor(descriptor, POLLIN, 0))
            return -1;
        count = ::read(descriptor, buffer, length);
    } while (count == -1 && (errno == EINTR || errno == EAGAIN));
    return count;
}

ssize_t write(int descriptor, const void* buffer, std::size_t length)
{
    struct stat status = {};
    ::fstat(descriptor, &status);
    std::optional<InterruptedBySignals> interrupted;
    if (S_ISCHR(status.st_mode) && ::isatty(descriptor) == 1)
        interrupted.emplace(); // it has room for one byte at least, and a longer write waits for the rest
    else if (S_ISFIFO(status.st_mode) || S_ISSOCK(status.st_mode))
        length = std::min<std::size_t>(length, PIPE_BUF); // for so much there is room
    ssize_t count = -1;
    do {
        if (!waitFor(descriptor, POLLOUT, SLICE_MS))
            return -1;
        count = ::write(descriptor, buffer, length);
    } while (count == -1 && (errno == EINTR || errno == EAGAIN));
    return count;
}

bool writeAll(int descriptor, std::span<const uint8_t> bytes)
{
    while (!bytes.empty()) {
        const ssize_t written = write(descriptor, bytes.data(), bytes.size());
        if (written == 0)
            errno = ENOSPC; // or else it would be tried for ever
        if (written <= 0)
            return false;
        bytes = bytes.subspan(static_cast<std::size_t>(written));
    }
    return true;
}

InterruptedBySignals::InterruptedBySignals()
{
    ::sigaction(SIGINT, nullptr, &m_Before);
    struct sigaction without = m_Before;
    without.sa_flags &= ~SA_RESTART;
    ::sigaction(SIGINT, &without, nullptr);
}

InterruptedBySignals::~InterruptedBySignals() { ::sigaction(SIGINT, &m_Before, nullptr); }

} // namespace Osl::LinuxCppUtil::Interruptible
