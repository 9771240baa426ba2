#pragma once

#include <osl/ts_basics/ll_tspackets.h>

#include <cstdint>
#include <optional>

namespace Osl::Ts {

/// The rate of a whole stream, told by the PCRs of the first PID that has any.
class RateMeter
{
public:
    /// `number` is that of the packet in the stream.
    void take(const uint8_t* packet, uint64_t number)
    {
        if (!Ll::hasPcr(packet) || Ll::pid(packet) != m_Pid.value_or(Ll::pid(packet)))
            return;
        m_Pid = Ll::pid(packet);
        const uint64_t pcr = Ll::pcr(packet);
        const uint64_t ticks = (pcr + PCR_RANGE - m_LastPcr) % PCR_RANGE;
        if (m_HasPcr && !Ll::hasDiscontinuity(packet) && ticks < MAX_STEP) {
            m_Ticks += ticks;
            m_Packets += number - m_LastNumber;
        }
        m_HasPcr = true;
        m_LastPcr = pcr;
        m_LastNumber = number;
    }

    /// nullopt when too little was seen.
    std::optional<double> bitsPerSecond() const
    {
        constexpr double BITS_PER_PACKET = TS_SIZE * 8.0;
        if (m_Ticks == 0)
            return {};
        return static_cast<double>(m_Packets) * BITS_PER_PACKET * PCR_TICKS_PER_SECOND / static_cast<double>(m_Ticks);
    }

private:
    static constexpr uint64_t MAX_STEP = PCR_TICKS_PER_SECOND; ///< a longer one is a jump

    std::optional<uint16_t> m_Pid;
    bool m_HasPcr = false;
    uint64_t m_LastPcr = 0;
    uint64_t m_LastNumber = 0;
    uint64_t m_Ticks = 0;
    uint64_t m_Packets = 0;
};

} // namespace Osl::Ts
