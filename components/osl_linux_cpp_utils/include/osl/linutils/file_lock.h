#pragma once

#include <osl/cpputils/error.h>

#include <chrono>
#include <functional>
#include <string>

namespace Osl::LinuxCppUtil {

/// A lock that another process kept until the patience or the program ended.
struct LockError : CppUtil::PrefixedError<"File lock Error: ", CppUtil::IOError>
{
    using PrefixedError::PrefixedError;
};

/// How long to wait for a lock: not at all unless told otherwise.
struct LockPatience
{
    std::chrono::milliseconds duration{0};
    /// Asked between two attempts, every few milliseconds; true gives up. Empty: never.
    std::function<bool()> stopped;
};

/// Two locks that a file has, neither of which keeps out who asks for the other one: a device that is used in two ways
/// at once has one for each.
enum class LockKind {
    FILE,  ///< flock
    RECORD ///< record lock on the whole file, of its open file description; the file must be open for writing
};

/// The exclusive lock on an open file or device, which keeps out only those who ask for it as well. It goes with its
/// holder: one that is killed leaves nothing behind. Opening the file a second time, in the same process too, gives
/// another holder. A file or kernel that knows no such locks is used without one.
class FileLock
{
public:
    /// Locks the open file behind `descriptor`, which must stay open for the life of the lock; `path` names it in
    /// errors. Raises LockError, with the process that holds the lock where the kernel tells it (of a RECORD it does
    /// not), when the lock cannot be had in time or `patience.stopped` says so.
    FileLock(int descriptor, const std::string& path, const LockPatience& patience = {},
             LockKind kind = LockKind::FILE);
    ~FileLock();
    FileLock(FileLock&& other) noexcept;
    FileLock(const FileLock&) = delete;
    FileLock& operator=(const FileLock&) = delete;

private:
    int m_Descriptor;
    LockKind m_Kind;
};

} // namespace Osl::LinuxCppUtil
