#include "zeb_fpga_shell/pktio/capture_stats.h"

#include "zeb_fpga_shell/pktio/bit_rate.h"
#include "zeb_fpga_shell/pktio/timing.h"

#include <osl/ts_basics/ll_tspackets.h>

#include <fmt/format.h>

#include <ostream>

namespace Osl::Utils {

using namespace Ts;

void CaptureStats::count(uint8_t tsi, const uint8_t* packet, TimePoint time)
{
    const uint16_t pid = Ll::pid(packet);
    Stream& stream = m_Streams[{tsi, pid}];
    if (stream.packets++ == 0)
        stream.first = time;
    stream.last = time;
    stream.continuityErrors += stream.continuity.isError(packet);
    // The other fields of a packet with a transport error cannot be relied on.
    if (Ll::hasTransportError(packet)) {
        ++stream.transportErrors;
        return;
    }
    stream.scrambled += Ll::scramblingControl(packet) != 0;
    stream.pcrs += Ll::hasPcr(packet);
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
