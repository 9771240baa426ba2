#include <osl/ts_basics/audio_frames.h>

#include <algorithm>
#include <array>

namespace Osl::Ts {
namespace {

constexpr std::size_t HEADER_BYTES = 7; ///< enough for each kind

std::optional<AudioFrame> adtsFrame(std::span<const uint8_t> b)
{
    constexpr std::array<uint32_t, 13> RATES{96000, 88200, 64000, 48000, 44100, 32000, 24000,
                                             22050, 16000, 12000, 11025, 8000,  7350};
    const std::size_t rate = b[2] >> 2 & 0x0F;
    const std::size_t bytes = std::size_t{b[3] & 3U} << 11 | std::size_t{b[4]} << 3 | b[5] >> 5;
    if (rate >= RATES.size() || bytes < HEADER_BYTES)
        return {};
    return AudioFrame{bytes, 1024 * ((b[6] & 3U) + 1), RATES[rate]};
}

std::optional<AudioFrame> mpegFrame(std::span<const uint8_t> b)
{
    constexpr std::array<std::array<uint16_t, 15>, 5> KBITS{{
        {0, 32, 64, 96, 128, 160, 192, 224, 256, 288, 320, 352, 384, 416, 448}, // version 1, layer 1
        {0, 32, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320, 384},    // layer 2
        {0, 32, 40, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320},     // layer 3
        {0, 32, 48, 56, 64, 80, 96, 112, 128, 144, 160, 176, 192, 224, 256},    // version 2, layer 1
        {0, 8, 16, 24, 32, 40, 48, 56, 64, 80, 96, 112, 128, 144, 160},         // layers 2 and 3
    }};
    constexpr std::array<uint32_t, 3> RATES{44100, 48000, 32000};
    const unsigned version = b[1] >> 3 & 3; // 3: 1; 2: 2, half the rate; 0: 2.5, a quarter of it
    const unsigned layer = 4 - (b[1] >> 1 & 3U);
    const unsigned kbitsIndex = b[2] >> 4, rateIndex = b[2] >> 2 & 3;
    if (version == 1 || layer == 4 || kbitsIndex == 0 || kbitsIndex == 15 || rateIndex == 3)
        return {};
    const bool first = version == 3;
    const uint32_t bits = 1000U * KBITS[first ? layer - 1 : layer == 1 ? 3 : 4][kbitsIndex];
    const uint32_t rate = RATES[rateIndex] >> (first ? 0 : version == 2 ? 1 : 2);
    const uint32_t samples = layer == 1 ? 384 : layer == 3 && !first ? 576 : 1152;
    const uint32_t slot = layer == 1 ? 4 : 1; // bytes
    return AudioFrame{(samples / 8 / slot * bits / rate + (b[2] >> 1 & 1U)) * slot, samples, rate};
}

std::optional<AudioFrame> ac3Frame(std::span<const uint8_t> b)
{
    constexpr std::array<uint32_t, 3> RATES{48000, 44100, 32000};
    constexpr std::array<uint32_t, 19> KBITS{32,  40,  48,  56,  64,  80,  96,  112, 128, 160,
                                             192, 224, 256, 320, 384, 448, 512, 576, 640};
    constexpr uint32_t BLOCK = 256; // samples
    const unsigned rateIndex = b[4] >> 6, bitStream = b[5] >> 3;
    if (bitStream <= 10) {
        const unsigned size = b[4] & 0x3F;
        if (rateIndex == 3 || size / 2 >= KBITS.size())
            return {};
        const uint32_t rate = RATES[rateIndex];
        const uint32_t words = 6 * BLOCK * 1000 / 16 * KBITS[size / 2] / rate + (rate == 44100 ? size & 1 : 0);
        return AudioFrame{std::size_t{2} * words, 6 * BLOCK, rate};
    }
    if (bitStream > 16)
        return {};
    constexpr std::array<uint32_t, 4> BLOCKS{1, 2, 3, 6};
    const unsigned code = b[4] >> 4 & 3;
    if (rateIndex == 3 && code == 3)
        return {};
    const std::size_t bytes = 2 * ((std::size_t{b[2] & 7U} << 8 | b[3]) + 1);
    const bool dependent = b[2] >> 6 == 1; // more channels of the frame before it
    const uint32_t samples = dependent ? 0 : BLOCK * (rateIndex == 3 ? 6 : BLOCKS[code]);
    return AudioFrame{bytes, samples, rateIndex == 3 ? RATES[code] / 2 : RATES[rateIndex]};
}

/// Duration of the frames one behind the other from the start of `data`, when these fill it to the end.
std::optional<int64_t> durationOfAll(std::span<const uint8_t> data)
{
    constexpr uint64_t CLOCK = 90'000;
    uint64_t samples = 0;
    uint32_t rate = 0;
    while (data.size() >= HEADER_BYTES) {
        const auto frame = audioFrameAt(data);
        if (!frame || (rate != 0 && frame->sampleRate != rate))
            return {};
        rate = frame->sampleRate;
        samples += frame->samples;
        data = data.subspan(std::min(frame->bytes, data.size()));
    }
    if (rate == 0)
        return {};
    return static_cast<int64_t>((samples * CLOCK + rate - 1) / rate);
}

} // namespace

std::optional<AudioFrame> audioFrameAt(std::span<const uint8_t> data)
{
    if (data.size() < HEADER_BYTES)
        return {};
    if (data[0] == 0x0B && data[1] == 0x77)
        return ac3Frame(data);
    if (data[0] != 0xFF || (data[1] & 0xE0) != 0xE0)
        return {};
    return (data[1] & 0xF6) == 0xF0 ? adtsFrame(data) : mpegFrame(data);
}

std::optional<int64_t> audioDuration(std::span<const uint8_t> payload)
{
    // A payload can start inside a frame of the packet before.
    for (std::size_t start = 0; start + HEADER_BYTES <= payload.size(); ++start) {
        const auto data = payload.subspan(start);
        if (audioFrameAt(data))
            if (const auto duration = durationOfAll(data))
                return duration;
    }
    return {};
}

} // namespace Osl::Ts
