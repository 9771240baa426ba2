#include <osl/linutils/raii_filedescriptors.h>
#include <osl/linutils/whole_file.h>

#include <fmt/format.h>

#include <array>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <optional>
#include <sys/stat.h>
#include <unistd.h>

namespace Osl::LinuxCppUtil {
namespace {

constexpr const char* NO_READING = "Unable to open readable file";
constexpr const char* NO_WRITING = "Unable to open writable file";
constexpr const char* WRITE_FAILED = "Unable to write file";

[[noreturn]] void raise(const char* what, const std::string& path, int error)
{
    OSL_RAISE(CppUtil::FileSystemError, fmt::format("{} \"{}\": {}", what, path, std::strerror(error)));
}

UniqueFD openOrRaise(const char* what, const std::string& path, int flags, const std::string& openedPath)
{
    const int fd = ::open(openedPath.c_str(), flags | O_CLOEXEC, 0666);
    if (fd == -1)
        raise(what, path, errno);
    return ownFD(fd);
}

/// Opening with O_NONBLOCK keeps a pipe without a partner from hanging; the transfer itself may wait.
void makeBlocking(const UniqueFD& fd) { ::fcntl(*fd, F_SETFL, ::fcntl(*fd, F_GETFL) & ~O_NONBLOCK); }

void writeAll(const std::string& path, const UniqueFD& fd, std::span<const uint8_t> bytes)
{
    while (!bytes.empty()) {
        const ssize_t written = ::write(*fd, bytes.data(), bytes.size());
        if (written == -1 && errno == EINTR)
            continue;
        if (written <= 0)
            raise(WRITE_FAILED, path, written == -1 ? errno : ENOSPC);
        bytes = bytes.subspan(static_cast<std::size_t>(written));
    }
}

/// Some file systems report a failed write only here.
void closeOrRaise(const std::string& path, UniqueFD fd)
{
    const std::unique_ptr<int> descriptor(fd.release());
    if (::close(*descriptor) != 0)
        raise(WRITE_FAILED, path, errno);
}

/// "" or a path that ends in "/".
std::string folderOf(const std::string& path) { return path.substr(0, path.rfind('/') + 1); }

/// Where a file name leads when it is a symbolic link, also to a file that is not there yet.
std::string followLinks(const std::string& path)
{
    constexpr int MOST_LINKS = 40; // as in the kernel
    std::string current = path;
    for (int i = 0; i < MOST_LINKS; ++i) {
        std::array<char, PATH_MAX> buffer{};
        const ssize_t length = ::readlink(current.c_str(), buffer.data(), buffer.size());
        if (length == -1)
            return current;
        const std::string target(buffer.data(), static_cast<std::size_t>(length));
        current = target.starts_with('/') ? std::string() : folderOf(current);
        current += target;
    }
    raise(NO_WRITING, path, ELOOP);
}

/// A file of its own name that disappears unless it is put in the place of another.
class FileBeside
{
public:
    FileBeside(const std::string& path, const std::string& target)
        : m_Path(path),
          m_Target(target),
          m_Name(fmt::format("{}.osl_{}.tmp", folderOf(target), ::getpid()))
    {
        ::unlink(m_Name.c_str()); // left behind by a process that was killed
        m_FD = openOrRaise(NO_WRITING, path, O_WRONLY | O_CREAT | O_EXCL, m_Name);
    }
    ~FileBeside()
    {
        if (!m_Placed)
            ::unlink(m_Name.c_str());
    }
    FileBeside(const FileBeside&) = delete;
    FileBeside& operator=(const FileBeside&) = delete;

    const UniqueFD& fd() const { return m_FD; }

    void place()
    {
        if (::fsync(*m_FD) != 0)
            raise(WRITE_FAILED, m_Path, errno);
        closeOrRaise(m_Path, std::move(m_FD));
        if (std::rename(m_Name.c_str(), m_Target.c_str()) != 0)
            raise(WRITE_FAILED, m_Path, errno);
        m_Placed = true;
    }

private:
    const std::string& m_Path; ///< as the user knows it
    const std::string& m_Target;
    std::string m_Name;
    UniqueFD m_FD;
    bool m_Placed = false;
};

} // namespace

std::vector<uint8_t> readWholeFile(const std::string& path, std::size_t limit)
{
    const UniqueFD fd = openOrRaise(NO_READING, path, O_RDONLY | O_NONBLOCK, path);
    struct stat status = {};
    if (::fstat(*fd, &status) != 0)
        raise(NO_READING, path, errno);
    if (S_ISDIR(status.st_mode))
        raise(NO_READING, path, EISDIR);
    if (!S_ISREG(status.st_mode) && !S_ISFIFO(status.st_mode))
        OSL_RAISE(CppUtil::FileSystemError,
                  fmt::format("{} \"{}\": neither a regular file nor a pipe", NO_READING, path));
    makeBlocking(fd);

    std::vector<uint8_t> bytes(limit);
    std::size_t filled = 0;
    while (filled < limit) {
        const ssize_t got = ::read(*fd, bytes.data() + filled, limit - filled);
        if (got == -1 && errno == EINTR)
            continue;
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
    if (exists && !S_ISREG(status.st_mode)) {
        UniqueFD fd = openOrRaise(NO_WRITING, path, O_WRONLY | O_NONBLOCK, path);
        makeBlocking(fd);
        writeAll(path, fd, bytes);
        closeOrRaise(path, std::move(fd));
        return;
    }

    // A file that the user may not write must not be replaced either.
    if (exists)
        openOrRaise(NO_WRITING, path, O_WRONLY, path);
    const std::string target = followLinks(path);
    FileBeside file(path, target);
    if (exists) {
        // Giving the file to its owner needs rights that the user may lack; the mode is what must stay.
        [[maybe_unused]] const int ownerKept = ::fchown(*file.fd(), status.st_uid, status.st_gid);
        if (::fchmod(*file.fd(), status.st_mode & 07777) != 0)
            raise(WRITE_FAILED, path, errno);
    }
    writeAll(path, file.fd(), bytes);
    file.place();
}

} // namespace Osl::LinuxCppUtil
