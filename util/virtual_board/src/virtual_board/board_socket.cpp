#include "virtual_board/board_socket.h"

#include <fmt/format.h>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace Osl::VirtualBoard {

using LinuxCppUtil::FileLock;
using LinuxCppUtil::LockKind;
using LinuxCppUtil::UniqueFD;
namespace fs = std::filesystem;

namespace {

constexpr int BACKLOG = 64;

UniqueFD makeSocket()
{
    const int descriptor = ::socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0);
    if (descriptor < 0)
        OSL_RAISE(CppUtil::IOError, fmt::format("Cannot make a socket: {}", std::strerror(errno)));
    return LinuxCppUtil::ownFD(descriptor);
}

/// The socket's address by way of the open folder: a path may be longer than an address.
sockaddr_un addressIn(const UniqueFD& folder)
{
    sockaddr_un address{.sun_family = AF_UNIX, .sun_path = {}};
    fmt::format("/proc/self/fd/{}/{}", *folder, SOCKET).copy(address.sun_path, sizeof address.sun_path - 1);
    return address;
}

} // namespace

bool Connection::send(const Words& words)
{
    std::string message;
    for (const std::string& word : words)
        message.append(word).push_back(0);
    return ::send(*m_Socket, message.data(), message.size(), MSG_DONTWAIT | MSG_NOSIGNAL) >= 0;
}

std::optional<Connection::Words> Connection::receive()
{
    ssize_t size = -1;
    do
        size = ::recv(*m_Socket, nullptr, 0, MSG_PEEK | MSG_TRUNC);
    while (size < 0 && errno == EINTR);
    if (size <= 0)
        return std::nullopt;
    std::string message(static_cast<std::size_t>(size), 0);
    if (::recv(*m_Socket, message.data(), message.size(), 0) != size)
        return std::nullopt;
    Words words;
    for (std::size_t at = 0, end = 0; (end = message.find('\0', at)) != std::string::npos; at = end + 1)
        words.push_back(message.substr(at, end - at));
    return words;
}

BoardLocks::BoardLocks(const fs::path& folder) : path(folder / LOCK_FILE)
{
    constexpr mode_t LOCK_MODE = 0644;
    const int descriptor = ::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, LOCK_MODE);
    if (descriptor < 0)
        OSL_RAISE(CppUtil::FileSystemError, fmt::format("Cannot open {}: {}", path, std::strerror(errno)));
    file = LinuxCppUtil::ownFD(descriptor);
}

FileLock BoardLocks::comeOrGo(const LinuxCppUtil::LockPatience& patience) const
{
    return {*file, path, patience, LockKind::FILE};
}

std::optional<FileLock> BoardLocks::tryComeOrGo() const
{
    try {
        return comeOrGo({});
    } catch (const LinuxCppUtil::LockError&) {
        return std::nullopt;
    }
}

FileLock BoardLocks::run(const LinuxCppUtil::LockPatience& patience) const
{
    return {*file, path, patience, LockKind::RECORD};
}

std::optional<Connection> meetBoard(const fs::path& folder)
{
    const UniqueFD place = LinuxCppUtil::makeUniqueFD(folder, O_PATH | O_DIRECTORY);
    UniqueFD socket = makeSocket();
    const sockaddr_un address = addressIn(place);
    if (::connect(*socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0)
        return Connection(std::move(socket));
    if (errno != ENOENT && errno != ECONNREFUSED)
        OSL_RAISE(CppUtil::IOError,
                  fmt::format("Cannot connect to {}: {}", (folder / SOCKET).string(), std::strerror(errno)));
    return std::nullopt;
}

UniqueFD listenIn(const fs::path& folder)
{
    const UniqueFD place = LinuxCppUtil::makeUniqueFD(folder, O_PATH | O_DIRECTORY);
    UniqueFD socket = makeSocket();
    const sockaddr_un address = addressIn(place);
    ::unlink(address.sun_path);
    if (::bind(*socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
        ::listen(*socket, BACKLOG) != 0)
        OSL_RAISE(CppUtil::IOError,
                  fmt::format("Cannot make {}: {}", (folder / SOCKET).string(), std::strerror(errno)));
    return socket;
}

} // namespace Osl::VirtualBoard
