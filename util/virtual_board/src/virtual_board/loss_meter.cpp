#include "virtual_board/loss_meter.h"

#include <osl/ts_basics/tspacket.h>

#include <fmt/format.h>

#include <algorithm>
#include <array>

namespace Osl::VirtualBoard {

void LossMeter::endRound(bool taken, Clock::time_point now)
{
    if (!taken)
        m_Round.lost = 0;
    if (m_Round.lost != 0 && m_Reported.lost == 0) {
        m_Reported = {};
        m_Begin = m_RoundBegin;
        m_Moment = std::time(nullptr);
    }
    if (m_Round.lost != 0 || m_Reported.lost != 0) {
        m_Reported.arrived += m_Round.arrived;
        m_Reported.lost += m_Round.lost;
    }
    m_Round = {};
    m_RoundBegin = now;
}

std::string LossMeter::report(Clock::time_point now, bool everything)
{
    using namespace std::chrono_literals;
    constexpr std::chrono::duration<double> SHORTEST{0.001};
    if (m_Reported.lost == 0 || (now - m_Begin < 1s && !everything))
        return "";
    const double seconds = std::max(SHORTEST, std::chrono::duration<double>(now - m_Begin)).count();
    constexpr double BITS_PER_PACKET = 8.0 * Ts::TS_SIZE;
    const Packets packets = std::exchange(m_Reported, {});
    std::tm moment{};
    std::array<char, sizeof "hh:mm:ss"> time{};
    std::strftime(time.data(), time.size(), "%H:%M:%S", localtime_r(&m_Moment, &moment));
    return fmt::format("{}: {} of {} packets lost from {} on, in {:.2f} s at {:.2f} Mbit/s, since they were not "
                       "taken in time",
                       m_Way, packets.lost, packets.arrived, time.data(), seconds,
                       static_cast<double>(packets.arrived) * BITS_PER_PACKET / seconds / 1e6);
}

} // namespace Osl::VirtualBoard
