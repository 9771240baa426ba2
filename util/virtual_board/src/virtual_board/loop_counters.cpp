#include "virtual_board/loop_counters.h"

#include <osl/ts_basics/ll_tspackets.h>

#include <utility>

namespace Osl::VirtualBoard {

namespace Ll = Ts::Ll;

LoopCounters::LoopCounters(std::unique_ptr<Ts::Streaming::ITsProcessChain> next, uint64_t packetsPerPass)
    : TsProcessChainLink(std::move(next)),
      m_Pids{},
      m_PacketsPerPass(packetsPerPass)
{
}

void LoopCounters::change(std::span<uint8_t> buffer)
{
    for (std::size_t at = 0; at < buffer.size(); at += Ts::TS_SIZE) {
        uint8_t* const packet = &buffer[at];
        const uint64_t pass = m_Index++ / m_PacketsPerPass;
        Pid& pid = m_Pids[Ll::pid(packet)];
        const uint8_t counter = Ll::continuityCounter(packet);
        if (pid.seen && pid.pass != pass)
            pid.offset = static_cast<uint8_t>(pid.last + (Ll::hasPayload(packet) ? 1 : 0) - counter);
        pid.last = static_cast<uint8_t>(counter + pid.offset);
        pid.pass = pass;
        pid.seen = true;
        Ll::setContinuityCounter(packet, pid.last);
    }
}

} // namespace Osl::VirtualBoard
