#pragma once

#include <osl/ts_basics/continuity_check.h>

#include <chrono>
#include <cstdint>
#include <iosfwd>
#include <map>
#include <string>
#include <utility>

namespace Osl::Utils {

/// Counts captured packets by input and PID.
class CaptureStats
{
public:
    using TimePoint = std::chrono::steady_clock::time_point;

    /// Counts the 188 bytes at `packet`, which came at `time`.
    void count(uint8_t tsi, const uint8_t* packet, TimePoint time);

    /// One line for each (TSI, PID), ascending. A rate is that from the first packet to the last, so one packet has
    /// none.
    void print(std::ostream& out) const;

private:
    struct Stream
    {
        uint64_t packets = 0;
        uint64_t continuityErrors = 0;
        uint64_t transportErrors = 0;
        uint64_t scrambled = 0;
        uint64_t pcrs = 0;
        TimePoint first, last;
        Ts::ContinuityCheck continuity;
    };

    static std::string rateOf(const Stream& stream);

    std::map<std::pair<uint8_t, uint16_t>, Stream> m_Streams;
};

} // namespace Osl::Utils
