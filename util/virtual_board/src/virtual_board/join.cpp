#include "virtual_board/join.h"

#include "virtual_board/board_folder.h"
#include "virtual_board/board_socket.h"
#include "virtual_board/command.h"
#include "virtual_board/message_file.h"
#include "virtual_board/users.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <iostream>
#include <poll.h>
#include <string_view>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

namespace Osl::VirtualBoard {

using namespace std::chrono_literals;
namespace fs = std::filesystem;

namespace {

constexpr const char* PROGRAM = "zeb_virtual_board";
constexpr auto START_PATIENCE = 30s; ///< while others start a board in the same folder, or end one

struct Joining
{
    fs::path folder;
    std::string user;
    std::string text;
    Settings settings{};
    std::vector<std::string> start{};
    std::vector<std::string> command{};
};

Joining readJoining(std::span<char* const> arguments)
{
    constexpr std::size_t FIXED = 3;
    if (arguments.size() < FIXED)
        OSL_RAISE(CppUtil::InvalidArgumentError, "no folder, user and text were given");
    Joining joining{.folder = fs::canonical(arguments[0]), .user = arguments[1], .text = arguments[2]};
    arguments = arguments.subspan(FIXED);
    const auto options = arguments.first(readOptions(arguments, joining.settings));
    arguments = arguments.subspan(std::min(options.size() + 1, arguments.size()));
    const auto end = std::find(arguments.begin(), arguments.end(), std::string_view("--"));
    if (arguments.end() - end < 2)
        OSL_RAISE(CppUtil::InvalidArgumentError, "a command is missing");
    joining.start.assign(arguments.begin(), end);
    joining.start.insert(joining.start.end(), options.begin(), options.end());
    joining.start.push_back(joining.folder);
    joining.command.assign(end + 1, arguments.end());
    return joining;
}

[[noreturn]] void becomeProgram(std::vector<std::string> command)
{
    std::vector<char*> words;
    for (std::string& word : command)
        words.push_back(word.data());
    words.push_back(nullptr);
    ::execvp(words[0], words.data());
    std::cerr << PROGRAM << ": cannot run " << words[0] << ": " << std::strerror(errno) << std::endl;
    ::_exit(EXIT_NO_BOARD);
}

/// Becomes the board's first process: it outlives this one, and holds nothing of who starts it but what is given.
[[noreturn]] void becomeBoard(const Joining& joining, int connection, int messages)
{
    ::setsid();
    ::dup2(connection, STDIN_FILENO);
    ::dup2(messages, STDOUT_FILENO);
    ::dup2(messages, STDERR_FILENO);
    ::close_range(STDERR_FILENO + 1, ~0U, 0);
    becomeProgram(joining.start);
}

/// A board that has just been started, until it is ready.
struct Started
{
    Connection connection;
    LinuxCppUtil::UniqueFD messages; ///< what it has to say until then
};

Started startBoard(const Joining& joining)
{
    std::array<int, 2> sockets{};
    std::array<int, 2> messages{};
    if (::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, sockets.data()) != 0 ||
        ::pipe2(messages.data(), O_CLOEXEC) != 0)
        OSL_RAISE(BoardError, fmt::format("Cannot start a board: {}", std::strerror(errno)));
    Started started{.connection = Connection(LinuxCppUtil::ownFD(sockets[0])),
                    .messages = LinuxCppUtil::ownFD(messages[0])};
    const auto itsSocket = LinuxCppUtil::ownFD(sockets[1]);
    const auto itsMessages = LinuxCppUtil::ownFD(messages[1]);
    const pid_t process = ::fork();
    if (process < 0)
        OSL_RAISE(BoardError, fmt::format("Cannot start a process: {}", std::strerror(errno)));
    if (process == 0)
        becomeBoard(joining, *itsSocket, *itsMessages);
    return started;
}

/// Hands messages of the start on until the board has answered; what comes then is the business of its file.
std::optional<Connection::Words> awaitStart(Started& started)
{
    std::array<pollfd, 2> signs{pollfd{started.connection.descriptor(), POLLIN, 0},
                                pollfd{*started.messages, POLLIN, 0}};
    std::array<char, 4096> text{};
    for (;;) {
        ::poll(signs.data(), signs.size(), -1);
        if (signs[1].revents != 0) {
            const ssize_t size = ::read(*started.messages, text.data(), text.size());
            if (size > 0)
                std::cerr << std::string_view(text.data(), static_cast<std::size_t>(size)) << std::flush;
            else
                signs[1].fd = -1;
        } else if (signs[0].revents != 0) {
            return started.connection.receive();
        }
    }
}

/// The connection to the board, once that has welcomed this user; says why there is none.
struct Welcome
{
    Connection connection;
    std::string process;
    bool hasNetwork;
    bool isFresh; ///< this user has started the board
};

std::string terminalName()
{
    for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        std::array<char, 64> name{};
        if (::ttyname_r(descriptor, name.data(), name.size()) == 0)
            return fs::path(name.data()).lexically_relative("/dev");
    }
    return "";
}

std::optional<Welcome> join(const Joining& joining)
{
    Connection::Words request{JOIN, joining.user, terminalName(), joining.text};
    const auto features = featuresOf(joining.settings);
    request.insert(request.end(), features.begin(), features.end());

    const BoardLocks locks(joining.folder);
    const auto coming = locks.comeOrGo({.duration = START_PATIENCE, .stopped = {}});
    std::optional<Connection::Words> answer;
    std::optional<Connection> connection = meetBoard(joining.folder);
    if (connection && connection->send(request))
        answer = connection->receive();
    const bool isFresh = !answer;
    if (isFresh) { // also where one was killed just now
        Started started = startBoard(joining);
        started.connection.send(request);
        answer = awaitStart(started);
        connection = std::move(started.connection);
    }
    if (!answer)
        return std::nullopt; // it has said why
    if (answer->size() == 3 && answer->front() == WELCOME)
        return Welcome{std::move(*connection), (*answer)[1], (*answer)[2] == HAS_NETWORK, isFresh};
    std::cerr << PROGRAM << ": " << answer->back() << std::endl;
    return std::nullopt;
}

/// The command, entering the board's network first where it has one. A user other than root has no power over that but
/// within the user namespace to which it belongs, and gives that up again with the next program.
std::vector<std::string> enteringCommand(const Joining& joining, const Welcome& board)
{
    std::vector<std::string> command;
    if (board.hasNetwork) {
        command = {"nsenter", "--target", board.process, "--net"};
        if (::geteuid() != 0)
            command.insert(command.end(), {"--user", "--preserve-credentials"});
        command.emplace_back("--");
    }
    command.insert(command.end(), joining.command.begin(), joining.command.end());
    return command;
}

pid_t startCommand(const std::vector<std::string>& command)
{
    const pid_t self = ::getpid();
    const pid_t child = ::fork();
    if (child < 0)
        OSL_RAISE(BoardError, fmt::format("Cannot start a process: {}", std::strerror(errno)));
    if (child > 0)
        return child;
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (::getppid() != self)
        ::_exit(EXIT_CANNOT_RUN);
    sigset_t none;
    ::sigemptyset(&none);
    ::sigprocmask(SIG_SETMASK, &none, nullptr);
    becomeProgram(command);
}

/// The terminal as it is now, to have it back from a command that is killed.
class Terminal
{
public:
    Terminal() : m_IsThere(::tcgetattr(STDIN_FILENO, &m_Before) == 0) {}
    void restore() const
    {
        std::signal(SIGTTOU, SIG_IGN); // the command may have been in the foreground
        if (m_IsThere)
            ::tcsetattr(STDIN_FILENO, TCSANOW, &m_Before);
    }

private:
    termios m_Before{};
    bool m_IsThere;
};

/// Takes away what a board that was killed could not; nothing where another one runs by now.
void cleanUpAfterBoard(const fs::path& folder)
{
    const BoardLocks locks(folder);
    const auto coming = locks.comeOrGo({.duration = START_PATIENCE, .stopped = {}});
    if (!meetBoard(folder))
        ::unlink((folder / SOCKET).c_str());
}

void onChildsEnd(int) {}

/// Runs the command, which ends with the board and that perhaps with it.
int stay(const Joining& joining, Welcome board)
{
    const Terminal terminal;
    MessageFile messages(joining.folder, board.isFresh ? MessageFile::News::ALL : MessageFile::News::FROM_NOW_ON);
    const bool relay = joining.settings.messages == Messages::ON_STANDARD_ERROR;
    const auto handOn = [&] {
        if (relay)
            std::cerr << messages.news() << std::flush;
    };
    std::signal(SIGCHLD, onChildsEnd);
    sigset_t childsEnd;
    sigset_t none;
    ::sigemptyset(&none);
    ::sigemptyset(&childsEnd);
    ::sigaddset(&childsEnd, SIGCHLD);
    ::sigprocmask(SIG_BLOCK, &childsEnd, nullptr);
    const pid_t child = startCommand(enteringCommand(joining, board));

    int status = 0;
    std::array<pollfd, 2> signs{pollfd{board.connection.descriptor(), POLLIN, 0},
                                pollfd{messages.descriptor(), POLLIN, 0}};
    while (::waitpid(child, &status, WNOHANG) != child) {
        if (signs[0].revents != 0 && !board.connection.receive()) {
            ::kill(child, SIGKILL);
            ::waitpid(child, &status, 0);
            terminal.restore();
            handOn();
            cleanUpAfterBoard(joining.folder);
            std::cerr << PROGRAM << ": the board in " << joining.folder.string()
                      << " has ended, and the command with it; its messages are in " << messages.path() << std::endl;
            return EXIT_NO_BOARD;
        }
        if (signs[1].revents != 0)
            handOn();
        if (::ppoll(signs.data(), signs.size(), nullptr, &none) < 0)
            signs[0].revents = signs[1].revents = 0;
    }
    board.connection.send({LEAVE});
    board.connection.receive();
    handOn();
    return exitStatus(status);
}

} // namespace

int joinBoard(std::span<char* const> arguments)
{
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    const Joining joining = readJoining(arguments);
    std::optional<Welcome> board = join(joining);
    return board ? stay(joining, std::move(*board)) : EXIT_NO_BOARD;
}

int showStatus(const char* folder)
{
    constexpr int NOBODY = 1;
    constexpr std::size_t LAST_LINES = 20;
    const fs::path root = fs::canonical(folder);
    if (!fs::exists(root / fs::path(MESSAGES_PATH).relative_path()))
        OSL_RAISE(BoardError, fmt::format("{} holds no board", root.string()));
    const MessageFile messages(root, MessageFile::News::ALL);
    std::optional<Connection> board = meetBoard(root);
    if (board)
        board->send({STATUS});
    const auto answer = board ? board->receive() : std::nullopt;
    if (answer)
        std::cout << answer->back();
    else if (root == root.root_path())
        std::cout << "a board of one user alone, this one\n";
    else
        std::cout << "no board runs in " << root.string() << '\n';
    std::cout << messages.summary(LAST_LINES) << std::flush;
    return answer || root == root.root_path() ? 0 : NOBODY;
}

} // namespace Osl::VirtualBoard
