#pragma once

#include <cstdint>
#include <iosfwd>
#include <map>
#include <utility>

namespace Osl::Utils {

/// Counts captured packets by input and PID.
class CaptureStats
{
public:
    /// Counts the 188 bytes at `packet`.
    void count(uint8_t tsi, const uint8_t* packet);

    /// One line for each (TSI, PID), ascending; rates are over `seconds`.
    void print(std::ostream& out, double seconds) const;

private:
    struct Stream
    {
        uint64_t packets = 0;
        uint64_t continuityErrors = 0;
        uint64_t transportErrors = 0;
        uint64_t scrambled = 0;
        uint64_t pcrs = 0;
        uint8_t lastCounter = 0;
        bool repeated = false; ///< the last packet had the same counter as the one before
    };

    static void checkContinuity(Stream& stream, const uint8_t* packet);

    std::map<std::pair<uint8_t, uint16_t>, Stream> m_Streams;
};

} // namespace Osl::Utils
