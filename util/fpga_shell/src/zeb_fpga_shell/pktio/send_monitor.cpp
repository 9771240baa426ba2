#include "zeb_fpga_shell/pktio/send_monitor.h"

#include "zeb_fpga_shell/pktio/bit_rate.h"

#include <osl/ts_basics/ll_tspackets.h>
#include <osl/ts_streaming/interfaces.h>

#include <fmt/format.h>

#include <algorithm>
#include <ostream>
#include <utility>

namespace Osl::Utils {
namespace {

constexpr std::chrono::milliseconds LINE_INTERVAL(200);
constexpr const char* CLEAR_LINE = "\r\x1b[K";

std::string minutes(double seconds)
{
    const auto whole = static_cast<uint64_t>(seconds);
    return fmt::format("{}:{:02}", whole / 60, whole % 60);
}

} // namespace

SendMonitor::SendMonitor(uint64_t totalBytes, std::ostream* progress, std::function<bool()> stopped,
                         std::function<std::chrono::steady_clock::time_point()> now)
    : m_TotalBytes(totalBytes),
      m_Progress(progress),
      m_Stopped(std::move(stopped)),
      m_Now(std::move(now)),
      m_Start(m_Now()),
      m_NextLine(m_Start)
{
}

uint64_t SendMonitor::bytes() const { return m_Packets * Ts::TS_SIZE; }

double SendMonitor::seconds() const { return secondsBetween(m_Start, m_Now()); }

void SendMonitor::sent(uint64_t packets)
{
    m_Packets += packets;
    ++m_Pieces;
    if (m_Progress != nullptr)
        draw();
    if (m_Stopped())
        OSL_RAISE(Ts::Streaming::WriteError, "Stopped by the user", Ts::Streaming::WriteReason::STOPPED);
}

void SendMonitor::draw()
{
    const auto now = m_Now();
    if (now < m_NextLine)
        return;
    m_NextLine = now + LINE_INTERVAL;
    const double elapsed = secondsBetween(m_Start, now);
    std::string line = fmt::format("{} bytes  {}  {}", bytes(), rateText(bytes(), elapsed), minutes(elapsed));
    if (m_TotalBytes != 0 && bytes() != 0) {
        const double share = std::min(1.0, static_cast<double>(bytes()) / static_cast<double>(m_TotalBytes));
        line = fmt::format("{:.0f} %  {}  {} left", share * 100, line, minutes(elapsed / share - elapsed));
    }
    *m_Progress << CLEAR_LINE << line << std::flush;
    m_LineDrawn = true;
}

void SendMonitor::clearLine()
{
    if (std::exchange(m_LineDrawn, false))
        *m_Progress << CLEAR_LINE << std::flush;
}

} // namespace Osl::Utils
