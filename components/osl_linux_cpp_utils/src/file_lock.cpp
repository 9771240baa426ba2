#include <osl/linutils/file_lock.h>

#include <fmt/format.h>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <optional>
#include <sstream>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <thread>
#include <utility>

namespace Osl::LinuxCppUtil {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds RETRY_INTERVAL{5};
constexpr int NO_DESCRIPTOR = -1;

enum class Attempt { LOCKED, TAKEN, NOT_SUPPORTED };

int change(int descriptor, LockKind kind, bool lock)
{
    if (kind == LockKind::FILE)
        return ::flock(descriptor, lock ? LOCK_EX | LOCK_NB : LOCK_UN);
    struct flock whole = {};
    whole.l_type = lock ? F_WRLCK : F_UNLCK;
    whole.l_whence = SEEK_SET;
    return ::fcntl(descriptor, F_OFD_SETLK, &whole);
}

Attempt tryLock(int descriptor, const std::string& path, LockKind kind)
{
    if (change(descriptor, kind, true) == 0)
        return Attempt::LOCKED;
    switch (errno) {
    case EWOULDBLOCK:
    case EACCES:
    case EINTR:
        return Attempt::TAKEN;
    case ENOSYS: // small kernels can leave file locks out
    case EINVAL: // old ones know no record locks of an open file
    case EOPNOTSUPP:
        return Attempt::NOT_SUPPORTED;
    default:
        OSL_RAISE(LockError, fmt::format("Cannot lock {}: {}", path, std::strerror(errno)));
    }
}

/// The process that holds a FILE lock, as the kernel lists it: "1: FLOCK  ADVISORY  WRITE 714 fd:01:262146 0
/// EOF".
std::optional<int> holderOf(int descriptor)
{
    struct stat status = {};
    if (::fstat(descriptor, &status) != 0)
        return std::nullopt;
    const std::string file =
        fmt::format("{:02x}:{:02x}:{}", ::major(status.st_dev), ::minor(status.st_dev), status.st_ino);
    std::ifstream locks("/proc/locks");
    for (std::string line; std::getline(locks, line);) {
        std::istringstream words(line);
        std::string number, kind, strength, access, place;
        int process = 0;
        if (words >> number >> kind >> strength >> access >> process >> place && kind == "FLOCK" && place == file &&
            process > 0)
            return process;
    }
    return std::nullopt;
}

std::string describeHolder(int descriptor, LockKind kind)
{
    const std::optional<int> process = kind == LockKind::FILE ? holderOf(descriptor) : std::nullopt;
    if (!process)
        return "another process";
    std::string name;
    std::getline(std::ifstream(fmt::format("/proc/{}/comm", *process)), name);
    return name.empty() ? fmt::format("process {}", *process) : fmt::format("process {} ({})", *process, name);
}

} // namespace

FileLock::FileLock(int descriptor, const std::string& path, const LockPatience& patience, LockKind kind)
    : m_Descriptor(descriptor),
      m_Kind(kind)
{
    const Clock::time_point deadline = Clock::now() + patience.duration;
    for (;;) {
        const Attempt attempt = tryLock(descriptor, path, kind);
        if (attempt == Attempt::NOT_SUPPORTED)
            m_Descriptor = NO_DESCRIPTOR;
        if (attempt != Attempt::TAKEN)
            return;
        if (patience.stopped && patience.stopped())
            OSL_RAISE(LockError,
                      fmt::format("Stopped while {} was in use by {}", path, describeHolder(descriptor, kind)));
        if (Clock::now() >= deadline)
            OSL_RAISE(LockError, fmt::format("{} is in use by {}{}", path, describeHolder(descriptor, kind),
                                             patience.duration.count() == 0
                                                 ? ""
                                                 : fmt::format(", and was so for {} ms", patience.duration.count())));
        std::this_thread::sleep_for(RETRY_INTERVAL);
    }
}

FileLock::~FileLock()
{
    if (m_Descriptor != NO_DESCRIPTOR)
        change(m_Descriptor, m_Kind, false);
}

FileLock::FileLock(FileLock&& other) noexcept
    : m_Descriptor(std::exchange(other.m_Descriptor, NO_DESCRIPTOR)),
      m_Kind(other.m_Kind)
{
}

} // namespace Osl::LinuxCppUtil
