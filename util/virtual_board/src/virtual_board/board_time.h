#pragma once

#include <chrono>

namespace Osl::VirtualBoard {

/// The time in which the board's streams run: some times as fast as the machine's. Both begin at one moment.
class BoardTime
{
public:
    using Clock = std::chrono::steady_clock;

    explicit BoardTime(double speed) : m_Speed(speed), m_Begin(Clock::now()) {}

    double speed() const { return m_Speed; }
    Clock::time_point at(Clock::time_point machineTime) const { return scaled(machineTime, m_Speed); }
    Clock::time_point machineTimeAt(Clock::time_point boardTime) const { return scaled(boardTime, 1 / m_Speed); }

private:
    Clock::time_point scaled(Clock::time_point time, double factor) const
    {
        if (m_Speed == 1)
            return time; // with nothing rounded away
        return m_Begin + std::chrono::duration_cast<Clock::duration>((time - m_Begin) * factor);
    }

    double m_Speed;
    Clock::time_point m_Begin;
};

} // namespace Osl::VirtualBoard
