#pragma once

#include <osl/ts_streaming/interfaces.h>

#include <cstdint>
#include <memory>
#include <span>
#include <vector>

namespace Osl::Ts::Streaming {

/// A reader that lets through whole packets with a sync byte only. An input that starts with anything else is refused
/// before a packet of it is handed out; one that loses sync later ends there, after what came before.
class SyncGuard : public ITsReader
{
public:
    explicit SyncGuard(std::unique_ptr<ITsReader> source);

    /// Raises ReadException (BAD_DATA) with the byte offset, and with the packet size that the input seems to have.
    std::span<uint8_t> read(std::span<uint8_t> buffer) override;
    void cancel() override { m_Source->cancel(); }

private:
    void probe();

    std::unique_ptr<ITsReader> m_Source;
    std::vector<uint8_t> m_Start; ///< what was read to examine the input
    std::size_t m_StartServed = 0;
    uint64_t m_Offset = 0; ///< bytes let through
    bool m_Lost = false;
    uint8_t m_BadByte = 0;
};

} // namespace Osl::Ts::Streaming
