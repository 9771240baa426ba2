#pragma once

#include <osl/ts_basics/ll_tspackets.h>

#include <cstdint>
#include <optional>

namespace Osl::VirtualBoard {

/// Follows the continuity counter of one PID, by the rules of ISO/IEC 13818-1: it counts packets with payload, one
/// repetition of a packet is allowed, an announced discontinuity may go anywhere.
class ContinuityCheck
{
public:
    /// Whether the packet's counter may not follow the last one.
    bool isError(const uint8_t* packet)
    {
        const uint8_t counter = Ts::Ll::continuityCounter(packet);
        const bool hasPayload = Ts::Ll::hasPayload(packet);
        const bool starts = !m_Last || Ts::Ll::hasDiscontinuity(packet);
        const bool repeats = !starts && counter == *m_Last;
        const bool follows = starts || counter == ((*m_Last + 1) & COUNTER_MASK);
        const bool allowed = starts || (hasPayload ? follows || (repeats && !m_Repeated) : repeats);
        m_Repeated = hasPayload && repeats;
        m_Last = counter;
        return !allowed;
    }

private:
    static constexpr unsigned COUNTER_MASK = 0x0F;
    std::optional<uint8_t> m_Last;
    bool m_Repeated = false;
};

} // namespace Osl::VirtualBoard
