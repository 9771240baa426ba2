#include <osl/linutils/file_lock.h>

#include <fmt/format.h>

#include <cerrno>
#include <cstring>
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

Attempt tryLock(int descriptor, const std::string& path)
{
    if (::flock(descriptor, LOCK_EX | LOCK_NB) == 0)
        return Attempt::LOCKED;
    switch (errno) {
    case EWOULDBLOCK:
    case EINTR:
        return Attempt::TAKEN;
    case ENOSYS: // small kernels can leave file locks out
    case EOPNOTSUPP:
        return Attempt::NOT_SUPPORTED;
    default:
        OSL_RAISE(LockError, fmt::format("Cannot lock {}: {}", path, std::strerror(errno)));
    }
}

/// The process that holds a lock on the file, as the kernel lists it: "1: FLOCK  ADVISORY  WRITE 714 fd:01:262146 0
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

std::string describeHolder(int descriptor)
{
    const std::optional<int> process = holderOf(descriptor);
    if (!process)
        return "another process";
    std::string name;
    std::getline(std::ifstream(fmt::format("/proc/{}/comm", *process)), name);
    return name.empty() ? fmt::format("process {}", *process) : fmt::format("process {} ({})", *process, name);
}

} // namespace

FileLock::FileLock(int descriptor, const std::string& path, const LockPatience& patience) : m_Descriptor(descriptor)
{
    const Clock::time_point deadline = Clock::now() + patience.duration;
    for (;;) {
        const Attempt attempt = tryLock(descriptor, path);
        if (attempt == Attempt::NOT_SUPPORTED)
            m_Descriptor = NO_DESCRIPTOR;
        if (attempt != Attempt::TAKEN)
            return;
        if (patience.stopped && patience.stopped())
            OSL_RAISE(LockError, fmt::format("Stopped while {} was in use by {}", path, describeHolder(descriptor)));
        if (Clock::now() >= deadline)
            OSL_RAISE(LockError, fmt::format("{} is in use by {}{}", path, describeHolder(descriptor),
                                             patience.duration.count() == 0
                                                 ? ""
                                                 : fmt::format(", and was so for {} ms", patience.duration.count())));
        std::this_thread::sleep_for(RETRY_INTERVAL);
    }
}

FileLock::~FileLock()
{
    if (m_Descriptor != NO_DESCRIPTOR)
        ::flock(m_Descriptor, LOCK_UN);
}

FileLock::FileLock(FileLock&& other) noexcept : m_Descriptor(std::exchange(other.m_Descriptor, NO_DESCRIPTOR)) {}

} // namespace Osl::LinuxCppUtil
