#include "zeb_route/scan_progress.h"

#include <fmt/format.h>

#include <poll.h>
#include <unistd.h>

namespace Osl::ZebRoute {
namespace {

constexpr const char* CLEAR_LINE = "\r\x1b[K";

} // namespace

ScanProgress::ScanProgress() : m_IsSeen(::isatty(STDERR_FILENO) == 1) {}

ScanProgress::~ScanProgress()
{
    if (m_IsShowing)
        write(CLEAR_LINE);
}

void ScanProgress::announce(const std::string& text) { write(fmt::format("zeb_route: {}\n", text)); }

void ScanProgress::show(const std::string& text)
{
    m_IsShowing = true;
    write(CLEAR_LINE + text);
}

void ScanProgress::write(const std::string& text)
{
    pollfd ready{.fd = STDERR_FILENO, .events = POLLOUT, .revents = 0};
    if (m_IsSeen && ::poll(&ready, 1, 0) == 1 && (ready.revents & POLLOUT) != 0)
        m_IsSeen = ::write(STDERR_FILENO, text.data(), text.size()) != -1;
}

} // namespace Osl::ZebRoute
