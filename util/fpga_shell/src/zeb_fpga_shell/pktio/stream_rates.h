#pragma once

#include "zeb_fpga_shell/pktio/bit_rate.h"

#include <osl/userspace_drivers/interfaces/imemif.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <iosfwd>
#include <vector>

namespace Osl::Utils {

/// Packet counts of stream inputs (TSI) and outputs (TSO) over a stretch of time, from the FPGA's counters of 18 bits.
/// One wrap of a counter in that time is no harm.
class StreamRates
{
public:
    struct Style
    {
        RateUnit unit = RateUnit::SCALED;
        bool onlyActive = false; ///< leaves out streams without a packet
    };

    /// `mem`, the PID handling block, must outlive this object.
    StreamRates(Drivers::IMemIf& mem, std::function<std::chrono::steady_clock::time_point()> now);

    /// The inputs, then the outputs, each in the order given; raises OutOfRangeError for indices above 255.
    void select(const std::vector<uint32_t>& tsis, const std::vector<uint32_t>& tsos);
    /// Every input, then every output.
    void selectAll();
    bool empty() const { return m_Streams.empty(); }

    void begin(); ///< takes the first sample of every stream
    void end();   ///< takes the second
    /// One line a stream; the lines of a measurement go out together.
    void print(std::ostream& out, const Style& style) const;

private:
    struct Sample
    {
        uint32_t count = 0;
        std::chrono::steady_clock::time_point time;
    };
    struct Stream
    {
        const char* kind = nullptr;
        uint32_t index = 0;
        uint32_t counterWord = 0;
        Sample first, second;
    };

    void add(const char* kind, uint32_t index, uint32_t firstCounterWord);
    Sample take(const Stream& stream) const;

    Drivers::IMemIf& m_Mem;
    std::function<std::chrono::steady_clock::time_point()> m_Now;
    std::vector<Stream> m_Streams;
};

} // namespace Osl::Utils
