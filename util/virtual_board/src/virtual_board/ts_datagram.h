#pragma once

#include <osl/ts_basics/ll_tspackets.h>

#include <cstddef>
#include <cstdint>
#include <span>

namespace Osl::VirtualBoard {

inline constexpr std::size_t PACKETS_PER_DATAGRAM = 7; ///< what fits an Ethernet frame
inline constexpr std::size_t RTP_HEADER_SIZE = 12;     ///< bytes, without contributing sources

/// The TS packets that a UDP datagram carries, plainly or behind an RTP header (RFC 3550) with whatever contributing
/// sources, extension and padding; empty when it carries anything else.
std::span<const uint8_t> tsPacketsIn(std::span<const uint8_t> datagram);

struct RtpStamp
{
    uint16_t sequence;
    uint32_t time; ///< 90 kHz
    uint32_t source;
};

/// Writes the header of an RTP datagram with MPEG-2 TS (payload type 33 of RFC 3551; RFC 2250), RTP_HEADER_SIZE bytes.
void writeRtpHeader(uint8_t* to, const RtpStamp& stamp);

} // namespace Osl::VirtualBoard
