#include <osl/ts_basics/ll_tspackets.h>
#include <osl/ts_streaming/inputs/sync_guard.h>

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <utility>

namespace Osl::Ts::Streaming {
namespace {

/// So many packets decide what an input is.
constexpr std::size_t PROBE_PACKETS = 64;

/// Offset of the first packet without sync byte; the size of `data` when all have one.
std::size_t findBadPacket(std::span<const uint8_t> data)
{
    std::size_t offset = 0;
    while (offset < data.size() && Ll::hasSync(&data[offset]))
        offset += TS_SIZE;
    return offset;
}

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

SyncGuard::SyncGuard(std::unique_ptr<ITsReader> source) : m_Source(std::move(source)) {}

void SyncGuard::probe()
{
    std::vector<uint8_t> start(PROBE_PACKETS * TS_SIZE);
    start.resize(m_Source->read(start).size());
    const std::size_t bad = findBadPacket(start);
    if (bad == start.size()) {
        m_Start = std::move(start);
        return;
    }
    const std::size_t size = guessPacketSize(start);
    OSL_RAISE(ReadException,
              fmt::format("The input is no transport stream of {}-byte packets: byte {} is 0x{:02x}, not the sync byte "
                          "0x{:02x}{}",
                          TS_SIZE, bad, start[bad], SYNC_BYTE,
                          size == 0 ? "" : fmt::format(". It looks like packets of {} bytes", size)),
              ReadReason::BAD_DATA);
}

std::span<uint8_t> SyncGuard::read(std::span<uint8_t> buffer)
{
    if (m_Start.empty())
        probe();
    if (m_StartServed < m_Start.size()) {
        const std::size_t count = std::min(buffer.size(), m_Start.size() - m_StartServed);
        std::copy_n(m_Start.begin() + static_cast<std::ptrdiff_t>(m_StartServed), count, buffer.begin());
        m_StartServed += count;
        m_Offset += count;
        return buffer.first(count);
    }

    std::span<uint8_t> data;
    if (!m_Lost) {
        data = m_Source->read(buffer);
        const std::size_t good = findBadPacket(data);
        m_Offset += good;
        m_Lost = good < data.size();
        if (m_Lost)
            m_BadByte = data[good];
        data = data.first(good);
    }
    if (data.empty())
        OSL_RAISE(ReadException,
                  fmt::format("Sync lost at byte {} of the input: 0x{:02x} instead of 0x{:02x}", m_Offset, m_BadByte,
                              SYNC_BYTE),
                  ReadReason::BAD_DATA);
    return data;
}

} // namespace Osl::Ts::Streaming
