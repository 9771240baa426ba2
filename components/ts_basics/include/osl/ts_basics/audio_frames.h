#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace Osl::Ts {

/// One frame of an audio stream.
struct AudioFrame
{
    std::size_t bytes;
    uint32_t samples;    ///< of each channel
    uint32_t sampleRate; ///< Hz
};

/// The frame whose header `data` starts with: of MPEG audio (ISO/IEC 11172-3, 13818-3), AAC in ADTS (13818-7), AC-3 or
/// E-AC-3 (ETSI TS 102 366). Not all of the frame need be there.
std::optional<AudioFrame> audioFrameAt(std::span<const uint8_t> data);

/// How long the frames play that begin in the payload of a PES packet, one cut off at its end included; 90 kHz, rounded
/// up. Nothing when they are of no known kind.
std::optional<int64_t> audioDuration(std::span<const uint8_t> payload);

} // namespace Osl::Ts
