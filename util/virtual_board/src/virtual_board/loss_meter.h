#pragma once

#include <chrono>
#include <cstdint>
#include <ctime>
#include <string>
#include <utility>

namespace Osl::VirtualBoard {

/// Counts packets that came faster than they were taken, and says so once a second. What is lost while nobody takes
/// packets is no loss.
class LossMeter
{
public:
    using Clock = std::chrono::steady_clock;

    /// `way` is how people name the way on which packets get lost.
    explicit LossMeter(std::string way) : m_Way(std::move(way)) {}

    void count(bool lost)
    {
        ++m_Round.arrived;
        m_Round.lost += lost ? 1 : 0;
    }

    /// Ends a round of some milliseconds; `taken`: somebody took packets from the first loss in it to its end.
    void endRound(bool taken, Clock::time_point now);
    bool lostInRound() const { return m_Round.lost != 0; }
    bool hasToTell() const { return m_Reported.lost != 0; }

    /// What was lost since the last report, with the rate and the moment, for people. "" when that is nothing, or the
    /// losses began less than a second ago and not `everything` is to be told.
    std::string report(Clock::time_point now, bool everything);

private:
    struct Packets
    {
        uint64_t arrived = 0;
        uint64_t lost = 0;
    };

    std::string m_Way;
    Packets m_Round;
    Packets m_Reported; ///< will be, from the first round with losses on
    Clock::time_point m_RoundBegin;
    Clock::time_point m_Begin;
    std::time_t m_Moment = 0; ///< of m_Begin
};

} // namespace Osl::VirtualBoard
