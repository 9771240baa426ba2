#pragma once

#include <osl/ts_streaming/interfaces.h>

#include <cstdint>
#include <memory>
#include <span>

namespace Osl::Ts::Streaming {

/// A reader that ends after a given number of packets of its source.
class PacketLimit : public ITsReader
{
public:
    PacketLimit(std::unique_ptr<ITsReader> source, uint64_t packets);

    std::span<uint8_t> read(std::span<uint8_t> buffer) override;
    void cancel() override { m_Source->cancel(); }

private:
    std::unique_ptr<ITsReader> m_Source;
    uint64_t m_PacketsLeft;
};

} // namespace Osl::Ts::Streaming
