#pragma once

#include <osl/ts_basics/ll_tspackets.h>

#include <cstdint>
#include <optional>

namespace Osl::Ts {

/// Follows the continuity counter of one PID. ISO/IEC 13818-1, 2.4.3.3: the counter moves with every packet that has a
/// payload; a packet may come twice, a discontinuity may be announced, and null packets have no order. A packet with a
/// transport error came, so the counter may have moved with it, but its fields cannot be relied on.
class ContinuityCheck
{
public:
    /// Whether the packet's counter may not follow the last one.
    bool isError(const uint8_t* packet)
    {
        if (Ll::pid(packet) == NULL_PID)
            return false;
        if (Ll::hasTransportError(packet)) {
            ++m_Unreadable;
            return false;
        }
        const uint8_t counter = Ll::continuityCounter(packet);
        const bool error = !mayFollow(packet, counter);
        m_Repeated = Ll::hasPayload(packet) && counter == m_Last;
        m_Last = counter;
        m_Unreadable = 0;
        return error;
    }

private:
    bool mayFollow(const uint8_t* packet, uint8_t counter) const
    {
        if (!m_Last || Ll::hasDiscontinuity(packet))
            return true;
        const unsigned steps = (counter - *m_Last) & 0xFU;
        if (!Ll::hasPayload(packet))
            return steps <= m_Unreadable;
        return steps == 0 ? !m_Repeated || m_Unreadable >= 15 : steps <= m_Unreadable + 1;
    }

    std::optional<uint8_t> m_Last;
    bool m_Repeated = false;   ///< the last packet had the same counter as the one before
    unsigned m_Unreadable = 0; ///< packets with a transport error since then
};

} // namespace Osl::Ts
