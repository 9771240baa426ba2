#include <osl/ts_basics/ll_tspackets.h>
#include <osl/ts_basics/tspacket.h>
#include <osl/ts_streaming/processing/sync_guard.h>

#include <fmt/format.h>

#include <utility>

namespace Osl::Ts::Streaming {

std::size_t findLostSync(std::span<const uint8_t> data)
{
    std::size_t offset = 0;
    while (offset < data.size() && Ll::hasSync(&data[offset]))
        offset += TS_SIZE;
    return offset;
}

SyncGuard::SyncGuard(std::unique_ptr<ITsProcessChain> next) : m_Next(std::move(next)) {}

void SyncGuard::check() const
{
    if (m_Lost)
        OSL_RAISE(TsError, fmt::format("Sync lost at byte {} of the input: 0x{:02x} instead of 0x{:02x}", m_Offset,
                                       m_BadByte, SYNC_BYTE));
}

std::span<uint8_t> SyncGuard::process(std::span<uint8_t> buffer)
{
    check();
    const std::size_t good = findLostSync(buffer);
    m_Offset += good;
    m_Lost = good < buffer.size();
    if (m_Lost)
        m_BadByte = buffer[good];
    const std::span<uint8_t> packets = buffer.first(good);
    return m_Next ? m_Next->process(packets) : packets;
}

} // namespace Osl::Ts::Streaming
