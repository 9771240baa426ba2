#include <osl/ts_basics/ll_tspackets.h>
#include <osl/ts_streaming/inputs/format_probe.h>
#include <osl/ts_streaming/processing/sync_guard.h>

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <utility>

namespace Osl::Ts::Streaming {
namespace {

/// A packet size other than 188 at which `data` shows sync bytes throughout; 0 when there is none.
std::size_t guessPacketSize(std::span<const uint8_t> data)
{
    constexpr std::size_t MIN_PACKETS = 3;
    for (const std::size_t size : {std::size_t{192}, std::size_t{204}}) {
        for (const std::size_t first : {std::size_t{0}, size - TS_SIZE}) {
            std::size_t seen = 0;
            std::size_t offset = first;
            for (; offset < data.size() && data[offset] == SYNC_BYTE; offset += size)
                ++seen;
            if (offset >= data.size() && seen >= MIN_PACKETS)
                return size;
        }
    }
    return 0;
}

} // namespace

FormatProbe::FormatProbe(std::unique_ptr<ITsReader> source) : m_Source(std::move(source)) {}

void FormatProbe::probe()
{
    std::vector<uint8_t> start(PROBE_PACKETS * TS_SIZE);
    std::size_t filled = m_Source->read(start).size();
    // A slow pipe hands on what it has, be it a single packet, whose sync byte would tell nothing.
    while (filled < ENOUGH_PACKETS * TS_SIZE) {
        try {
            filled += m_Source->read(std::span(start).subspan(filled)).size();
        } catch (const ReadException&) {
            break; // what has come is examined and handed on first; the next read meets the same again
        }
    }
    start.resize(filled);
    const std::size_t bad = findLostSync(start);
    if (bad == start.size()) {
        m_Start = std::move(start);
        return;
    }
    const std::size_t size = guessPacketSize(start);
    OSL_RAISE(
        ReadException,
        fmt::format("The input is not a transport stream of {}-byte packets: byte {} is 0x{:02x}, not the sync byte "
                    "0x{:02x}{}",
                    TS_SIZE, bad, start[bad], SYNC_BYTE,
                    size == 0 ? "" : fmt::format(". It looks like packets of {} bytes", size)),
        ReadReason::BAD_DATA);
}

std::span<uint8_t> FormatProbe::read(std::span<uint8_t> buffer)
{
    if (m_Start.empty())
        probe();
    if (m_StartServed < m_Start.size()) {
        const std::size_t count = std::min(buffer.size(), m_Start.size() - m_StartServed);
        std::copy_n(m_Start.begin() + static_cast<std::ptrdiff_t>(m_StartServed), count, buffer.begin());
        m_StartServed += count;
        return buffer.first(count);
    }
    return m_Source->read(buffer);
}

} // namespace Osl::Ts::Streaming
