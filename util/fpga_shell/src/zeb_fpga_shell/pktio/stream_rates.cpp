#include "zeb_fpga_shell/pktio/stream_rates.h"

#include "zeb_fpga_shell/pktio/timing.h"

#include <osl/cpputils/error.h>
#include <osl/ts_basics/ll_tspackets.h>
#include <osl/userspace_drivers/drivers/zeb/ts/tablelayout.h>

#include <fmt/format.h>

#include <ostream>
#include <utility>

namespace Osl::Utils {

using Drivers::Zeb::STATUS_COUNT;
using Drivers::Zeb::TSI_BITRATE_BASE;
using Drivers::Zeb::TSO_BITRATE_BASE;

namespace {

constexpr uint32_t COUNT_MASK = 0x3FFFF; ///< the bits of a counter that count

} // namespace

StreamRates::StreamRates(Drivers::IMemIf& mem, std::function<std::chrono::steady_clock::time_point()> now)
    : m_Mem(mem),
      m_Now(std::move(now))
{
}

void StreamRates::add(const char* kind, uint32_t index, uint32_t firstCounterWord)
{
    if (index >= STATUS_COUNT)
        OSL_RAISE(CppUtil::OutOfRangeError, fmt::format("{} {} is not in 0..{}", kind, index, STATUS_COUNT - 1));
    m_Streams.push_back({kind, index, firstCounterWord + index, {}, {}});
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

StreamRates::Sample StreamRates::take(const Stream& stream) const
{
    const uint32_t count = m_Mem.read32(stream.counterWord);
    return {count, m_Now()};
}

void StreamRates::begin()
{
    for (Stream& stream : m_Streams)
        stream.first = take(stream);
}

void StreamRates::end()
{
    for (Stream& stream : m_Streams)
        stream.second = take(stream);
}

void StreamRates::print(std::ostream& out, const Style& style) const
{
    for (const Stream& stream : m_Streams) {
        const uint32_t packets = (stream.second.count - stream.first.count) & COUNT_MASK;
        if (packets == 0 && style.onlyActive)
            continue;
        out << fmt::format("{}({}): {}\n", stream.kind, stream.index,
                           describeRate(uint64_t{packets} * Ts::TS_SIZE,
                                        secondsBetween(stream.first.time, stream.second.time), style.unit));
    }
    out.flush();
}

} // namespace Osl::Utils
