#include "virtual_board/users.h"

#include "virtual_board/board_folder.h"
#include "virtual_board/reporting.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cerrno>
#include <cstring>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <unistd.h>
#include <utility>

namespace Osl::VirtualBoard {
namespace {

constexpr std::size_t JOIN_WORDS = 4; ///< before the features
constexpr std::size_t LONGEST_WORD = 200;

LinuxCppUtil::UniqueFD makePoll()
{
    const int descriptor = ::epoll_create1(EPOLL_CLOEXEC);
    if (descriptor < 0)
        OSL_RAISE(BoardError, fmt::format("Cannot wait for users: {}", std::strerror(errno)));
    return LinuxCppUtil::ownFD(descriptor);
}

void watch(int poll, int descriptor)
{
    epoll_event event{.events = EPOLLIN, .data = {.fd = descriptor}};
    ::epoll_ctl(poll, EPOLL_CTL_ADD, descriptor, &event);
}

/// What a line may hold.
std::string printable(std::string text)
{
    std::replace_if(
        text.begin(), text.end(), [](unsigned char c) { return std::iscntrl(c) != 0; }, ' ');
    return text.substr(0, LONGEST_WORD);
}

pid_t processBehind(const Connection& connection)
{
    ucred credentials{};
    socklen_t size = sizeof credentials;
    ::getsockopt(connection.descriptor(), SOL_SOCKET, SO_PEERCRED, &credentials, &size);
    return credentials.pid;
}

} // namespace

Users::Users(const Settings& settings, Connection first)
    : m_Folder(settings.folder),
      m_Features(featuresOf(settings)),
      m_HasNetwork(settings.network != Network::NONE),
      m_Since(std::time(nullptr)),
      m_Poll(makePoll()),
      m_Listener(listenIn(m_Folder))
{
    watch(*m_Poll, *m_Listener);
    add(std::move(first));
}

Users::~Users() { ::unlink((m_Folder / SOCKET).c_str()); }

void Users::add(Connection connection)
{
    const pid_t process = processBehind(connection);
    watch(*m_Poll, connection.descriptor());
    m_Users.push_back({.connection = std::move(connection), .process = process});
}

void Users::serve(const std::function<void()>& writeOut)
{
    std::array<epoll_event, 16> events{};
    const int count = ::epoll_wait(*m_Poll, events.data(), static_cast<int>(events.size()), 0);
    for (std::size_t i = 0; std::cmp_less(i, count); ++i) {
        if (events[i].data.fd == *m_Listener) {
            const int descriptor = ::accept4(*m_Listener, nullptr, nullptr, SOCK_CLOEXEC);
            if (descriptor >= 0)
                add(Connection(LinuxCppUtil::ownFD(descriptor)));
            continue;
        }
        const auto user = std::find_if(m_Users.begin(), m_Users.end(), [&](const User& candidate) {
            return candidate.connection.descriptor() == events[i].data.fd;
        });
        if (user != m_Users.end())
            hear(user, writeOut);
    }
}

void Users::hear(Place user, const std::function<void()>& writeOut)
{
    const auto words = user->connection.receive();
    const std::string what = words && !words->empty() ? words->front() : "";
    if (what == JOIN && words->size() >= JOIN_WORDS) {
        join(*user, *words);
        return;
    }
    if (what == STATUS) {
        user->connection.send({STATUS, status()});
        return;
    }
    writeOut();
    if (m_Users.size() > 1)
        user->connection.send({FAREWELL});
    m_Users.erase(user);
}

void Users::join(User& user, const Connection::Words& words)
{
    std::vector<std::string> missing;
    std::copy_if(words.begin() + JOIN_WORDS, words.end(), std::back_inserter(missing),
                 [this](const std::string& feature) {
                     return std::find(m_Features.begin(), m_Features.end(), feature) == m_Features.end();
                 });
    if (!missing.empty()) {
        user.connection.send({REFUSED, fmt::format("a board runs in {} already, without {}; leave that away, or wait "
                                                   "until its last user has left",
                                                   m_Folder.string(), fmt::join(missing, " "))});
        return;
    }
    user.name = printable(words[1]);
    user.terminal = printable(words[2]);
    user.command = printable(words[3]);
    user.since = std::time(nullptr);
    user.connection.send({WELCOME, std::to_string(::getpid()), m_HasNetwork ? HAS_NETWORK : ""});
}

std::string Users::status() const
{
    constexpr const char* LINE = "{:>8}  {:10}  {:10}  {:19}  {}\n";
    std::string text = fmt::format("a board runs in {} since {}, process {}{}{}\n", m_Folder.string(), dateOf(m_Since),
                                   ::getpid(), m_Features.empty() ? "" : ", with ", fmt::join(m_Features, " "));
    text += fmt::format(LINE, "PROCESS", "USER", "TERMINAL", "SINCE", "COMMAND");
    for (const User& user : m_Users)
        if (!user.name.empty())
            text += fmt::format(LINE, user.process, user.name, user.terminal.empty() ? "-" : user.terminal,
                                dateOf(user.since), user.command);
    return text;
}

} // namespace Osl::VirtualBoard
