#pragma once

#include "virtual_board/reporting.h"

#include <osl/ts_basics/ll_tspackets.h>

#include <array>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <optional>

namespace Osl::VirtualBoard {

/// The ways through CAMs and scramblers: what leaves through one of those outputs comes back at the input of its name.
/// A CAM passes everything on. A scrambler marks the packets that have a row in its PID LUT as scrambled with an even
/// or odd key, whichever the row's key index is, and leaves their payload as it is.
class ReturnPaths
{
public:
    using Deliver = std::function<void(uint32_t phyIIdx, const uint8_t* packet)>;

    /// `scmBlock` are the words of the scrambler's block, which must outlive this.
    ReturnPaths(const volatile uint32_t* scmBlock, Deliver deliver, Complain complain);

    /// A packet of 188 bytes leaves through an output. If that is one of those, settle() brings it back.
    void take(uint32_t phyOIdx, const uint8_t* packet);

    /// Delivers what came back, and what comes back of that. To be called after each packet of elsewhere.
    void settle();

private:
    struct Path
    {
        uint32_t phyIIdx;
        std::optional<uint32_t> scmIdx{}; ///< only of a scrambler
    };
    struct Packet
    {
        uint32_t phyIIdx;
        unsigned passes; ///< through CAMs and scramblers
        std::array<uint8_t, Ts::TS_SIZE> bytes;
    };

    void scramble(uint32_t scmIdx, uint8_t* packet) const;

    const volatile uint32_t* m_Block;
    Deliver m_Deliver;
    Complain m_Complain;
    std::map<uint32_t, Path> m_Paths; ///< by PHYOIDX
    std::deque<Packet> m_Waiting;
    unsigned m_Passes = 0; ///< of the packet that is being routed
    bool m_CircleReported = false;
};

} // namespace Osl::VirtualBoard
