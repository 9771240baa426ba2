#pragma once

#include <osl/ts_streaming/interfaces.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

namespace Osl::Ts::Streaming {

/// A reader that refuses an input that does not start as packets of 188 bytes, before a packet of it is handed out.
class FormatProbe : public ITsReader
{
public:
    /// So many packets decide what an input is, where they come at once; of a slow pipe the fewer ones are enough.
    static constexpr std::size_t PROBE_PACKETS = 64;
    static constexpr std::size_t ENOUGH_PACKETS = 5;

    explicit FormatProbe(std::unique_ptr<ITsReader> source);

    /// Raises ReadException (BAD_DATA) with the byte offset, and with the packet size that the input seems to have.
    std::span<uint8_t> read(std::span<uint8_t> buffer) override;
    void cancel() override { m_Source->cancel(); }

private:
    void probe();

    std::unique_ptr<ITsReader> m_Source;
    std::vector<uint8_t> m_Start; ///< what was read to examine the input
    std::size_t m_StartServed = 0;
};

} // namespace Osl::Ts::Streaming
