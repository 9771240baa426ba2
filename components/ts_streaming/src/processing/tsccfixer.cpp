#include <osl/ts_streaming/processing/tsccfixer.h>

#include <utility>

namespace Osl::Ts::Streaming {

TsCcFixer::TsCcFixer(std::unique_ptr<ITsProcessChain> next) : TsProcessChainLink(std::move(next))
{
    m_LastCounter.fill(UNSEEN);
}

void TsCcFixer::change(std::span<uint8_t> buffer)
{
    for (std::size_t at = 0; at < buffer.size(); at += TS_SIZE) {
        uint8_t* const packet = &buffer[at];
        const uint16_t pid = Ll::pid(packet);
        if (pid == NULL_PID)
            continue;
        uint8_t& counter = m_LastCounter[pid];
        if (counter == UNSEEN) {
            counter = 15;
            if (Ll::hasAdaptationFlags(packet))
                Ll::setDiscontinuity(packet);
        }
        // A packet with an adaptation field only repeats the counter.
        if (Ll::hasPayload(packet) || !Ll::hasAdaptationField(packet))
            counter = (counter + 1) & 0x0F;
        Ll::setContinuityCounter(packet, counter);
    }
}

} // namespace Osl::Ts::Streaming
