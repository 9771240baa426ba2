#include "zeb_fpga_shell/pktio/stream_rates.h"

#include <osl/cpputils/error.h>
#include <osl/ts_basics/ll_tspackets.h>
#include <osl/userspace_drivers/drivers/zeb/ts/tablelayout.h>

#include <fmt/format.h>

#include <algorithm>
#include <ostream>
#include <utility>

namespace Osl::Utils {

using Drivers::Zeb::PacketCounters;
using Drivers::Zeb::STATUS_COUNT;
using Drivers::Zeb::TSI_BITRATE_BASE;
using Drivers::Zeb::TSO_BITRATE_BASE;

namespace {

/// Well below the interval that the counters allow, so that a busy machine keeps to that.
constexpr std::chrono::milliseconds READ_INTERVAL = PacketCounters::LONGEST_INTERVAL / 2;

/// No stream of the board is faster, in bit/s.
constexpr double HIGHEST_RATE = 1e9;

} // namespace

StreamRates::StreamRates(Drivers::IMemIf& mem, Timing timing)
    : m_Timing(std::move(timing)),
      m_Counters(mem, m_Timing.now)
{
}

void StreamRates::add(const char* kind, uint32_t index, uint32_t firstCounterWord)
{
    if (index >= STATUS_COUNT)
        OSL_RAISE(CppUtil::OutOfRangeError, fmt::format("{} {} is not in 0..{}", kind, index, STATUS_COUNT - 1));
    m_Streams.push_back({kind, index});
    m_Counters.add(firstCounterWord + index);
}

void StreamRates::select(const std::vector<uint32_t>& tsis, const std::vector<uint32_t>& tsos)
{
    for (const uint32_t tsi : tsis)
        add("TSI", tsi, TSI_BITRATE_BASE);
    for (const uint32_t tso : tsos)
        add("TSO", tso, TSO_BITRATE_BASE);
}

void StreamRates::selectAll()
{
    for (uint32_t tsi = 0; tsi < STATUS_COUNT; ++tsi)
        add("TSI", tsi, TSI_BITRATE_BASE);
    for (uint32_t tso = 0; tso < STATUS_COUNT; ++tso)
        add("TSO", tso, TSO_BITRATE_BASE);
}

bool StreamRates::measure(std::chrono::milliseconds time, const std::function<bool()>& stopped)
{
    m_Counters.start();
    const auto end = m_Timing.now() + time;
    for (auto now = m_Timing.now(); now < end; now = m_Timing.now()) {
        if (!m_Timing.wait(std::min<Timing::Duration>(READ_INTERVAL, end - now), stopped))
            return false;
        m_Counters.read();
    }
    return true;
}

void StreamRates::print(std::ostream& out, const Style& style) const
{
    for (std::size_t i = 0; i < m_Streams.size(); ++i) {
        const uint64_t packets = m_Counters.packets(i);
        if (packets == 0 && style.onlyActive)
            continue;
        out << fmt::format("{}({}): {}\n", m_Streams[i].kind, m_Streams[i].index,
                           describeRate(packets * Ts::TS_SIZE, inSeconds(m_Counters.elapsed(i)), style.unit));
    }
    out.flush();
}

std::string StreamRates::doubt() const
{
    const double gap = inSeconds(m_Counters.longestInterval());
    constexpr uint64_t RANGE_BYTES = uint64_t{PacketCounters::RANGE} * Ts::TS_SIZE;
    if (RANGE_BYTES * 8 > HIGHEST_RATE * gap)
        return {};
    return fmt::format("the counters were not read for {:.2f} seconds; a rate above {} shows too low", gap,
                       rateText(RANGE_BYTES, gap));
}

} // namespace Osl::Utils
