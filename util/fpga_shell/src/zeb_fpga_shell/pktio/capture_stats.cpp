#include "zeb_fpga_shell/pktio/capture_stats.h"

#include "zeb_fpga_shell/pktio/bit_rate.h"
#include "zeb_fpga_shell/pktio/timing.h"

#include <osl/ts_basics/ll_tspackets.h>

#include <fmt/format.h>

#include <ostream>

namespace Osl::Utils {

using namespace Ts;

/// ISO/IEC 13818-1, 2.4.3.3: the counter moves with every packet that has a payload; a packet may come twice, and a
/// discontinuity may be announced. A packet with a transport error came, so the counter may have moved with it.
bool CaptureStats::isContinuous(const Stream& stream, const uint8_t* packet)
{
    if (!stream.lastCounter || Ll::hasDiscontinuity(packet))
        return true;
    const unsigned steps = (Ll::continuityCounter(packet) - *stream.lastCounter) & 0xFU;
    if (!Ll::hasPayload(packet))
        return steps <= stream.unreadable;
    return steps == 0 ? !stream.repeated || stream.unreadable >= 15 : steps <= stream.unreadable + 1;
}

void CaptureStats::count(uint8_t tsi, const uint8_t* packet, TimePoint time)
{
    const uint16_t pid = Ll::pid(packet);
    Stream& stream = m_Streams[{tsi, pid}];
    if (stream.packets++ == 0)
        stream.first = time;
    stream.last = time;
    // The fields of a packet with a transport error cannot be relied on.
    if (Ll::hasTransportError(packet)) {
        ++stream.transportErrors;
        ++stream.unreadable;
        return;
    }
    stream.scrambled += Ll::scramblingControl(packet) != 0;
    stream.pcrs += Ll::hasPcr(packet);
    if (pid == NULL_PID)
        return;
    stream.continuityErrors += !isContinuous(stream, packet);
    const uint8_t counter = Ll::continuityCounter(packet);
    stream.repeated = Ll::hasPayload(packet) && counter == stream.lastCounter;
    stream.lastCounter = counter;
    stream.unreadable = 0;
}

std::string CaptureStats::rateOf(const Stream& stream)
{
    const double seconds = secondsBetween(stream.first, stream.last);
    return seconds > 0 ? rateText((stream.packets - 1) * TS_SIZE, seconds) : "no rate";
}

void CaptureStats::print(std::ostream& out) const
{
    for (const auto& [key, stream] : m_Streams)
        out << fmt::format("TSI {} PID 0x{:04x} ({}): {} packets, {}, {} continuity errors, {} transport errors, {} "
                           "scrambled, {} PCRs\n",
                           key.first, key.second, key.second, stream.packets, rateOf(stream), stream.continuityErrors,
                           stream.transportErrors, stream.scrambled, stream.pcrs);
}

} // namespace Osl::Utils
