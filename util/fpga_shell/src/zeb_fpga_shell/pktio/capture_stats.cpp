#include "zeb_fpga_shell/pktio/capture_stats.h"

#include "zeb_fpga_shell/pktio/bit_rate.h"

#include <osl/ts_basics/ll_tspackets.h>

#include <fmt/format.h>

#include <ostream>

namespace Osl::Utils {

using namespace Ts;

/// ISO/IEC 13818-1, 2.4.3.3: the counter moves with every packet that has a payload; a packet may come twice, and a
/// discontinuity may be announced.
void CaptureStats::checkContinuity(Stream& stream, const uint8_t* packet)
{
    const uint8_t counter = Ll::continuityCounter(packet);
    const bool repeated = counter == stream.lastCounter;
    if (stream.packets > 0 && !Ll::hasDiscontinuity(packet)) {
        const bool good = Ll::hasPayload(packet)
                              ? counter == (stream.lastCounter + 1) % 16 || (repeated && !stream.repeated)
                              : repeated;
        if (!good)
            ++stream.continuityErrors;
    }
    stream.repeated = Ll::hasPayload(packet) && repeated;
    stream.lastCounter = counter;
}

void CaptureStats::count(uint8_t tsi, const uint8_t* packet)
{
    const uint16_t pid = Ll::pid(packet);
    Stream& stream = m_Streams[{tsi, pid}];
    // The fields of a packet with a transport error cannot be relied on.
    if (Ll::hasTransportError(packet)) {
        ++stream.transportErrors;
    } else {
        if (pid != NULL_PID)
            checkContinuity(stream, packet);
        stream.scrambled += Ll::scramblingControl(packet) != 0;
        stream.pcrs += Ll::hasPcr(packet);
    }
    ++stream.packets;
}

void CaptureStats::print(std::ostream& out, double seconds) const
{
    for (const auto& [key, stream] : m_Streams)
        out << fmt::format("TSI {} PID 0x{:04x} ({}): {} packets, {}, {} continuity errors, {} transport errors, {} "
                           "scrambled, {} PCRs\n",
                           key.first, key.second, key.second, stream.packets,
                           rateText(stream.packets * TS_SIZE, seconds), stream.continuityErrors, stream.transportErrors,
                           stream.scrambled, stream.pcrs);
}

} // namespace Osl::Utils
