#pragma once

#include "virtual_board/board_socket.h"
#include "virtual_board/settings.h"

#include <ctime>
#include <filesystem>
#include <functional>
#include <list>

namespace Osl::VirtualBoard {

// What is said, by the first word of a message:
//   join USER TERMINAL COMMAND [FEATURE]...   from who wants to use the board; the answer is
//     welcome PROCESS NETWORK                 the board's, and "network" if others must enter that
//     refused REASON
//   leave                                     from a user; when all it did shows, the answer is
//     farewell                                or, to the last one, the end of the connection with that of the board
//   status                                    from anybody; the answer is
//     status TEXT
inline constexpr const char* JOIN = "join";
inline constexpr const char* WELCOME = "welcome";
inline constexpr const char* REFUSED = "refused";
inline constexpr const char* LEAVE = "leave";
inline constexpr const char* FAREWELL = "farewell";
inline constexpr const char* STATUS = "status";
inline constexpr const char* HAS_NETWORK = "network";

/// Those who are at a running board. Each has a connection to it for as long as it stays, however it ends.
class Users
{
public:
    /// Opens the board's folder to others besides the first user. Raises CppUtil::IOError.
    Users(const Settings& settings, Connection first);

    /// Closes the folder to others.
    ~Users();
    Users(const Users&) = delete;
    Users& operator=(const Users&) = delete;

    /// Readable when there is something to serve.
    int descriptor() const { return *m_Poll; }

    /// Welcomes who came and lets go who left; before that `writeOut` has to show all that the board did.
    void serve(const std::function<void()>& writeOut);

    bool empty() const { return m_Users.empty(); }

private:
    struct User
    {
        Connection connection;
        pid_t process;
        std::string name{};     ///< empty: has not joined, at least not yet
        std::string terminal{}; ///< empty: none
        std::string command{};
        std::time_t since = 0;
    };
    using Place = std::list<User>::iterator;

    void add(Connection connection);
    void hear(Place user, const std::function<void()>& writeOut);
    void join(User& user, const Connection::Words& words);
    std::string status() const;

    std::filesystem::path m_Folder;
    std::vector<std::string> m_Features;
    bool m_HasNetwork;
    std::time_t m_Since;
    LinuxCppUtil::UniqueFD m_Poll;
    LinuxCppUtil::UniqueFD m_Listener;
    std::list<User> m_Users;
};

} // namespace Osl::VirtualBoard
