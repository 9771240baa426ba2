#include <osl/linutils/interruptible.h>
#include <osl/linutils/raii_filedescriptors.h>
#include <osl/linutils/whole_file.h>

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <climits>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <linux/magic.h>
#include <optional>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <unistd.h>
#include <utility>

namespace Osl::LinuxCppUtil {
namespace {

/// Room for what comes next from a pipe, whose length nobody knows.
constexpr std::size_t PIPE_PIECE = 65536;

constexpr mode_t NEW_FILE_MODE = 0666; ///< less the umask
constexpr const char* NO_READING = "Unable to open readable file";
constexpr const char* NO_WRITING = "Unable to open writable file";
constexpr const char* WRITE_FAILED = "Unable to write file";

[[noreturn]] void raise(const char* what, const std::string& path, int error, const char* consequence = "")
{
    OSL_RAISE(CppUtil::FileSystemError, fmt::format("{} \"{}\": {}{}", what, path, std::strerror(error), consequence));
}

UniqueFD openOrRaise(const char* what, const std::string& path, int flags)
{
    const int fd = Interruptible::open(path, flags);
    if (fd == -1)
        raise(what, path, errno);
    return ownFD(fd);
}

/// Some file systems report a failed write only here.
bool close(UniqueFD fd)
{
    const std::unique_ptr<int> descriptor(fd.release());
    return ::close(*descriptor) == 0;
}

/// "./" or a path that ends in "/".
std::string folderOf(const std::string& path)
{
    const std::size_t end = path.rfind('/') + 1;
    return end == 0 ? "./" : path.substr(0, end);
}

std::string nameOf(const std::string& path) { return path.substr(path.rfind('/') + 1); }

/// The kernel's own links, to what a process has open, do not lead to a name: what their text says may be gone, or
/// never have been a file.
bool liesInProc(const std::string& path)
{
    struct statfs system = {};
    return ::statfs(folderOf(path).c_str(), &system) == 0 && system.f_type == PROC_SUPER_MAGIC;
}

/// Where a file name leads when it is a symbolic link, also to a file that is not there yet.
std::string followLinks(const std::string& path)
{
    constexpr int MOST_LINKS = 40; // as in the kernel
    std::string current = path;
    for (int i = 0; i < MOST_LINKS; ++i) {
        std::array<char, PATH_MAX> buffer{};
        const ssize_t length = ::readlink(current.c_str(), buffer.data(), buffer.size());
        if (length == -1 || liesInProc(current))
            return current;
        const std::string target(buffer.data(), static_cast<std::size_t>(length));
        current = target.starts_with('/') ? target : folderOf(current).append(target);
    }
    raise(NO_WRITING, path, ELOOP);
}

std::string realPath(const std::string& path)
{
    const std::unique_ptr<char, decltype(&std::free)> real(::realpath(path.c_str(), nullptr), &std::free);
    return real ? real.get() : "";
}

/// The number of the descriptor of this process that the path stands for, as "/proc/self/fd/1" does.
std::optional<int> ownDescriptor(const std::string& path)
{
    const std::string name = nameOf(path);
    int number = 0;
    const auto [end, error] = std::from_chars(name.data(), name.data() + name.size(), number);
    if (error != std::errc() || end != name.data() + name.size() ||
        realPath(folderOf(path)) != realPath("/proc/self/fd"))
        return std::nullopt;
    return number;
}

/// To a device, a pipe or what is open already: behind what stands there. An open file of one's own must be written
/// through its own descriptor, which knows where that is.
void writeThrough(const std::string& path, const std::string& target, std::span<const uint8_t> bytes)
{
    const std::optional<int> own = ownDescriptor(target);
    const int copy = own ? ::fcntl(*own, F_DUPFD_CLOEXEC, STDERR_FILENO + 1) : -1;
    UniqueFD fd = copy != -1 ? ownFD(copy) : openOrRaise(NO_WRITING, path, O_WRONLY | O_APPEND);
    if (!Interruptible::writeAll(*fd, bytes) || !close(std::move(fd)))
        raise(WRITE_FAILED, path, errno);
}

void overwrite(const std::string& path, std::span<const uint8_t> bytes)
{
    UniqueFD fd = openOrRaise(NO_WRITING, path, O_WRONLY | O_CREAT | O_TRUNC);
    if (!Interruptible::writeAll(*fd, bytes) || ::fsync(*fd) != 0 || !close(std::move(fd)))
        raise(WRITE_FAILED, path, errno, "; its old content is lost, and the new one is incomplete");
}

/// While it lives, only SIGKILL ends this thread; what came meanwhile does afterwards.
class SignalsDeferred
{
public:
    SignalsDeferred()
    {
        sigset_t all = {};
        sigfillset(&all);
        ::pthread_sigmask(SIG_SETMASK, &all, &m_Before);
    }
    ~SignalsDeferred() { ::pthread_sigmask(SIG_SETMASK, &m_Before, nullptr); }
    SignalsDeferred(const SignalsDeferred&) = delete;
    SignalsDeferred& operator=(const SignalsDeferred&) = delete;

private:
    sigset_t m_Before = {};
};

/// The new content of a file while it is written: without a name where the file system can do that, so that nothing is
/// left behind whatever ends the program.
class Draft
{
public:
    /// `path` is how the user knows the file, `target` where it is.
    Draft(const std::string& path, const std::string& target) : m_Target(target), m_Folder(folderOf(target))
    {
        int fd = ::open(m_Folder.c_str(), O_TMPFILE | O_WRONLY | O_CLOEXEC, NEW_FILE_MODE);
        if (fd == -1) {
            m_Deferred.emplace();
            m_Name = fmt::format("{}.osl_{}.tmp", m_Folder, ::getpid());
            ::unlink(m_Name.c_str()); // left behind by a process that was killed
            fd = ::open(m_Name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, NEW_FILE_MODE);
        }
        if (fd != -1)
            m_FD = ownFD(fd);
        else if (errno == ENOSPC || errno == EDQUOT)
            raise(WRITE_FAILED, path, errno);
    }
    ~Draft()
    {
        if (!m_Name.empty())
            ::unlink(m_Name.c_str());
    }
    Draft(const Draft&) = delete;
    Draft& operator=(const Draft&) = delete;

    /// Empty when the folder lets nothing be made in it.
    const UniqueFD& fd() const { return m_FD; }

    /// Puts the draft in the place of its target, in one step; false when that cannot be done here.
    bool place()
    {
        if (!m_Name.empty())
            return rename();
        m_Deferred.emplace();
        if (link(m_Target))
            return true;
        constexpr int ATTEMPTS = 100; // for whoever does the same in this folder at this very moment
        for (int i = 0; i < ATTEMPTS && errno == EEXIST; ++i) {
            // Only a name can take the place of another one. What SIGKILL leaves behind just here is whole; the next
            // process removes it.
            const std::string name = fmt::format("{}.{}.osl_tmp", m_Folder, nameOf(m_Target));
            ::unlink(name.c_str());
            if (!link(name))
                continue;
            m_Name = name;
            if (rename())
                return true;
            if (errno != ENOENT)
                return false;
            m_Name.clear();
            errno = EEXIST; // somebody else's draft has taken the name, and the place
        }
        return false;
    }

private:
    bool link(const std::string& name) const
    {
        // This way is for the privileged alone; the other one needs /proc.
        if (::linkat(*m_FD, "", AT_FDCWD, name.c_str(), AT_EMPTY_PATH) == 0)
            return true;
        return errno != EEXIST && ::linkat(AT_FDCWD, fmt::format("/proc/self/fd/{}", *m_FD).c_str(), AT_FDCWD,
                                           name.c_str(), AT_SYMLINK_FOLLOW) == 0;
    }

    bool rename()
    {
        if (std::rename(m_Name.c_str(), m_Target.c_str()) != 0)
            return false;
        m_Name.clear();
        return true;
    }

    std::optional<SignalsDeferred> m_Deferred; ///< from before the draft gets a name until it is gone again
    std::string m_Target;
    std::string m_Folder;
    std::string m_Name; ///< empty while the draft has none
    UniqueFD m_FD;
};

/// A new file's name is safe only when its folder is; where a folder cannot be told to, nothing more can be done.
void syncFolder(const std::string& folder)
{
    const int fd = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd != -1)
        ::fsync(*ownFD(fd));
}

/// Changes the file in one step; false, with nothing changed, where that cannot be done. `old` is the file that is
/// there, if one is.
bool replace(const std::string& path, const std::string& target, const std::optional<struct stat>& old,
             std::span<const uint8_t> bytes)
{
    if (old && old->st_nlink > 1)
        return false; // its other names would go on meaning the old content
    Draft draft(path, target);
    if (!draft.fd())
        return false;
    const int fd = *draft.fd();
    if (old && (::fchown(fd, old->st_uid, old->st_gid) != 0 || ::fchmod(fd, old->st_mode & 07777) != 0))
        return false;
    if (!Interruptible::writeAll(fd, bytes) || ::fsync(fd) != 0)
        raise(WRITE_FAILED, path, errno);
    if (!draft.place())
        return false;
    syncFolder(folderOf(target));
    return true;
}

} // namespace

std::vector<uint8_t> readWholeFile(const std::string& path, std::size_t limit)
{
    // Without blocking: a device that is named by mistake must not keep anyone waiting before it is refused.
    const UniqueFD fd = openOrRaise(NO_READING, path, O_RDONLY | O_NONBLOCK);
    struct stat status = {};
    if (::fstat(*fd, &status) != 0)
        raise(NO_READING, path, errno);
    if (S_ISDIR(status.st_mode))
        raise(NO_READING, path, EISDIR);
    if (!S_ISREG(status.st_mode) && !S_ISFIFO(status.st_mode))
        OSL_RAISE(CppUtil::FileSystemError,
                  fmt::format("{} \"{}\": neither a regular file nor a pipe", NO_READING, path));

    // One byte more than a regular file has tells its end without another round.
    std::vector<uint8_t> bytes(std::min(limit, static_cast<std::size_t>(status.st_size) + 1));
    std::size_t filled = 0;
    while (filled < limit) {
        if (filled == bytes.size())
            bytes.resize(std::min(limit, std::max(2 * filled, PIPE_PIECE)));
        const ssize_t got = Interruptible::read(*fd, bytes.data() + filled, bytes.size() - filled);
        if (got == -1)
            raise("Unable to read file", path, errno);
        if (got == 0)
            break;
        filled += static_cast<std::size_t>(got);
    }
    bytes.resize(filled);
    return bytes;
}

void writeWholeFile(const std::string& path, std::span<const uint8_t> bytes)
{
    struct stat status = {};
    const bool exists = ::stat(path.c_str(), &status) == 0;
    if (!exists && (errno != ENOENT || path.empty() || path.ends_with('/')))
        raise(NO_WRITING, path, errno);
    const std::string target = followLinks(path);
    if (exists && (!S_ISREG(status.st_mode) || liesInProc(target))) {
        writeThrough(path, target, bytes);
        return;
    }
    if (exists)
        openOrRaise(NO_WRITING, path, O_WRONLY); // a file that the user may not write must not be replaced either
    if (!replace(path, target, exists ? std::optional(status) : std::nullopt, bytes))
        overwrite(path, bytes);
}

} // namespace Osl::LinuxCppUtil
