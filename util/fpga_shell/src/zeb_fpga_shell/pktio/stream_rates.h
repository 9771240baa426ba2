#pragma once

#include "zeb_fpga_shell/pktio/bit_rate.h"
#include "zeb_fpga_shell/pktio/timing.h"

#include <osl/userspace_drivers/drivers/zeb/ts/counters/packetcounters.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <iosfwd>
#include <string>
#include <vector>

namespace Osl::Utils {

/// Bit rates of stream inputs (TSI) and outputs (TSO) over a stretch of time, from the FPGA's packet counters.
class StreamRates
{
public:
    struct Style
    {
        RateUnit unit = RateUnit::SCALED;
        bool onlyActive = false; ///< leaves out streams without a packet
    };

    /// `mem`, the PID handling block, must outlive this object.
    StreamRates(Drivers::IMemIf& mem, Timing timing);

    /// The inputs, then the outputs, each in the order given; raises OutOfRangeError for indices above 255.
    void select(const std::vector<uint32_t>& tsis, const std::vector<uint32_t>& tsos);
    /// Every input, then every output.
    void selectAll();
    bool empty() const { return m_Streams.empty(); }

    /// Measures for `time`; false when `stopped` ended it before.
    bool measure(std::chrono::milliseconds time, const std::function<bool()>& stopped);
    /// One line a stream; the lines of a measurement go out together.
    void print(std::ostream& out, const Style& style) const;
    /// Why rates of the measurement may be too low, as when the program was suspended; empty when they are exact.
    std::string doubt() const;

private:
    struct Stream
    {
        const char* kind;
        uint32_t index;
    };

    void add(const char* kind, uint32_t index, uint32_t firstCounterWord);

    Timing m_Timing;
    Drivers::Zeb::PacketCounters m_Counters;
    std::vector<Stream> m_Streams; ///< one for each counter, in the same order
};

} // namespace Osl::Utils
