#pragma once

#include <osl/ts_basics/ll_tspackets.h>
#include <osl/ts_streaming/interfaces.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <span>

namespace Osl::Ts::Streaming {

/// Length of a pass of a looped file in 27 MHz ticks: `span`, the time between two of its PCRs, stretched from the
/// `packetsBetween` them to all `packetsInPass`.
uint64_t scaledPassLength(uint64_t span, uint64_t packetsBetween, uint64_t packetsInPass);

/// PIDs up to 32 are kept for tables; neither these nor null packets set the time of a loop.
bool canCarryPcr(uint16_t pid);

/// Keeps time stamps running forward when a looped file starts again: from the second pass on, the length of the passes
/// before is added to PCR, PTS and DTS, all modulo their 33 bits. A pass is as long as its first PCR PID's PCRs tell,
/// stretched from the packets between them to all of the pass; at the default rate when there are no two PCRs.
class TsPcrWrapper : public TsProcessChainLink
{
public:
    /// `packetsPerPass`: packets in the file; 0 when not known, then a pass starts when the first PCR comes again, and
    /// packets before it keep the time of the pass before. `packetsBetween` is asked once, at the first packet behind
    /// the first pass: so many packets have been put behind it and every other; they are a part of the pass.
    explicit TsPcrWrapper(std::unique_ptr<ITsProcessChain> next = nullptr, uint64_t packetsPerPass = 0,
                          std::function<uint64_t()> packetsBetween = {});

protected:
    void change(std::span<uint8_t> buffer) override;

private:
    struct Stamp
    {
        uint64_t pcr = 0;   ///< 27 MHz ticks
        uint64_t index = 0; ///< of its packet in the pass
    };

    void handle(uint8_t* packet);
    void handlePcr(uint8_t* packet);
    void handlePayloadUnit(uint8_t* packet);
    void startPass(uint64_t packetsInPass);
    uint64_t passLength(uint64_t packetsInPass) const;

    uint64_t m_PacketsPerPass;
    std::function<uint64_t()> m_PacketsBetween; ///< empty once it has been asked
    uint64_t m_Index = 0;                       ///< of the packet in its pass
    uint16_t m_PcrPid = NULL_PID;
    Stamp m_First;
    Stamp m_Last;
    uint64_t m_PassLength = 0; ///< ticks; 0 in the first pass
    uint64_t m_Offset = 0;     ///< ticks, modulo PCR_RANGE
    bool m_WarnedScrambled = false;
    bool m_WarnedCut = false;
};

} // namespace Osl::Ts::Streaming
