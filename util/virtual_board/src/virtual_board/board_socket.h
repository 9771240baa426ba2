#pragma once

#include <osl/linutils/file_lock.h>
#include <osl/linutils/raii_filedescriptors.h>

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace Osl::VirtualBoard {

/// Below a kept board's folder: the file whose locks say who may start and end a board there, and the socket at which
/// the running one is met. In the same folder are the messages of the board that runs or ran last.
inline constexpr const char* LOCK_FILE = "board.lock";
inline constexpr const char* SOCKET = "board.socket";

/// A running board and somebody who came to it: messages of words, in both directions, until one of them is gone.
class Connection
{
public:
    using Words = std::vector<std::string>;

    explicit Connection(LinuxCppUtil::UniqueFD socket) : m_Socket(std::move(socket)) {}

    /// Readable when there is a message, or will be none any more.
    int descriptor() const { return *m_Socket; }

    /// False when the other one is gone or takes no more messages. Never waits.
    bool send(const Words& words);

    /// Waits for the next message; empty when the other one is gone.
    std::optional<Words> receive();

private:
    LinuxCppUtil::UniqueFD m_Socket;
};

/// The locks on a kept board. The file must stay open for the life of a lock.
struct BoardLocks
{
    /// Makes the file where it is missing. Raises CppUtil::FileSystemError.
    explicit BoardLocks(const std::filesystem::path& folder);

    /// Held by who may find a board or start one, and by one that is about to end, so that nobody meets a board that
    /// will be gone. Raises LinuxCppUtil::LockError.
    LinuxCppUtil::FileLock comeOrGo(const LinuxCppUtil::LockPatience& patience) const;

    /// The same at once; empty when somebody else has it.
    std::optional<LinuxCppUtil::FileLock> tryComeOrGo() const;

    /// Held by a board for its life. Raises LinuxCppUtil::LockError.
    LinuxCppUtil::FileLock run(const LinuxCppUtil::LockPatience& patience) const;

    std::string path;
    LinuxCppUtil::UniqueFD file;
};

/// Meets the board that runs in `folder`; empty when none does. Raises CppUtil::IOError when that cannot be known.
std::optional<Connection> meetBoard(const std::filesystem::path& folder);

/// Where a board is met; replaces what an earlier one left there. Raises CppUtil::IOError.
LinuxCppUtil::UniqueFD listenIn(const std::filesystem::path& folder);

} // namespace Osl::VirtualBoard
