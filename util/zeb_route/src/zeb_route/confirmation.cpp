#include "zeb_route/confirmation.h"

#include "zeb_route/endurance.h"

#include <fmt/format.h>

#include <array>
#include <fcntl.h>
#include <optional>
#include <poll.h>
#include <string>
#include <strings.h>
#include <termios.h>
#include <unistd.h>

namespace Osl::ZebRoute {
namespace {

using Clock = std::chrono::steady_clock;

/// Between two looks at whether to stop.
constexpr int SLICE_MS = 40;
constexpr std::size_t MAX_ANSWER = 80;

void write(int terminal, std::string_view text)
{
    // A terminal that is gone shows when the answer is read.
    [[maybe_unused]] const ssize_t written = ::write(terminal, text.data(), text.size());
}

/// A line without its end; nullopt when there is none in time.
std::optional<std::string> readLine(int terminal, Clock::time_point end, const Surroundings& around)
{
    std::string line;
    while (Clock::now() < end && !around.stopRequested()) {
        pollfd ready{.fd = terminal, .events = POLLIN, .revents = 0};
        if (::poll(&ready, 1, SLICE_MS) <= 0)
            continue;
        char c = 0;
        if (::read(terminal, &c, 1) != 1 || line.size() == MAX_ANSWER)
            return std::nullopt;
        if (c == '\n')
            return line;
        line += c;
    }
    return std::nullopt;
}

} // namespace

Confirmation::Confirmation()
{
    const int terminal = ::open("/dev/tty", O_RDWR | O_CLOEXEC | O_NOCTTY);
    if (terminal == -1)
        OSL_RAISE(UsageError, "--confirm asks on a terminal, and there is none");
    m_Terminal = LinuxCppUtil::ownFD(terminal);
    endure();
}

bool Confirmation::isGiven(std::chrono::seconds time, const Surroundings& around)
{
    ::tcflush(*m_Terminal, TCIFLUSH); // what was typed before answers no question
    write(*m_Terminal, fmt::format("Keep the change? yes within {} s, or it is taken back: ", time.count()));
    const auto answer = readLine(*m_Terminal, Clock::now() + time, around);
    if (!answer)
        write(*m_Terminal, "\n");
    return answer && !around.stopRequested() &&
           (::strcasecmp(answer->c_str(), "yes") == 0 || ::strcasecmp(answer->c_str(), "y") == 0);
}

} // namespace Osl::ZebRoute
