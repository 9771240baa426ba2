#pragma once

#include <osl/ts_streaming/interfaces.h>

#include <array>
#include <cstdint>

namespace Osl::VirtualBoard {

/// Lets continuity counters run on where a looped file starts again. What is wrong with them inside of the file stays.
class LoopCounters : public Ts::Streaming::TsProcessChainLink
{
public:
    /// `packetsPerPass`: packets in the file, not 0.
    LoopCounters(std::unique_ptr<Ts::Streaming::ITsProcessChain> next, uint64_t packetsPerPass);

protected:
    void change(std::span<uint8_t> buffer) override;

private:
    struct Pid
    {
        uint64_t pass = 0;  ///< in which the last packet was
        uint8_t last = 0;   ///< counter of that packet, as handed on
        uint8_t offset = 0; ///< on the counters of this pass
        bool seen = false;
    };

    std::array<Pid, 0x2000> m_Pids; ///< by PID
    uint64_t m_PacketsPerPass;
    uint64_t m_Index = 0; ///< of the packet, from the very first
};

} // namespace Osl::VirtualBoard
