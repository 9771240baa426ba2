#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace Osl::VirtualBoard {

/// What comes out of a TX DMA channel's byte stream.
class ITransferEvents
{
public:
    virtual ~ITransferEvents() = default;
    /// A segment starts: 27 MHz ticks for each of its packets, and for all together on top.
    virtual void onSegment(uint32_t spacing, uint32_t remainder) = 0;
    /// A packet of the segment: its header word and its 188 bytes.
    virtual void onPacket(uint32_t header, const uint8_t* packet) = 0;
    /// Bytes that are neither were skipped.
    virtual void onGarbage(std::size_t bytes) = 0;
    /// The bytes ended inside a segment head or a record, of which only this many came.
    virtual void onTruncated(std::size_t bytes) = 0;
};

/// Finds segment heads and packet records in a channel's bytes, however these are cut on the way. A record has the sync
/// byte behind its header; a segment head has a zero there, as the remainder it holds is small.
class TransferParser
{
public:
    explicit TransferParser(ITransferEvents& events) : m_Events(events) {}

    void feed(std::span<const uint8_t> bytes);

    /// The sender is gone: what follows starts anew.
    void end();

private:
    std::size_t parseAt(std::size_t position);
    void reportGarbage();

    ITransferEvents& m_Events;
    std::vector<uint8_t> m_Bytes; ///< not parsed yet
    std::size_t m_Garbage = 0;    ///< bytes skipped since the last good ones
};

} // namespace Osl::VirtualBoard
