#include <osl/testing/test.h>
#include <osl/ts_basics/audio_frames.h>

#include <string>
#include <vector>

using namespace Osl::Ts;

namespace {

struct Kind
{
    const char* name;
    std::vector<uint8_t> header;
    std::size_t bytes;
    int64_t ticks; ///< of three frames, 90 kHz
};

std::ostream& operator<<(std::ostream& out, const Kind& kind) { return out << kind.name; }

} // namespace

class AudioFramesTest : public testing::TestWithParam<Kind>
{
};

TEST_P(AudioFramesTest, AreCountedToTheEndOfThePayload)
{
    const Kind& kind = GetParam();
    std::vector<uint8_t> frame(kind.bytes);
    std::copy(kind.header.begin(), kind.header.end(), frame.begin());
    std::vector<uint8_t> payload(11, 0xFF); // of a frame that began before
    for (int i = 0; i < 3; ++i)
        payload.insert(payload.end(), frame.begin(), frame.end());
    EXPECT_EQ(audioDuration(payload), kind.ticks);
    payload.resize(payload.size() - 20);
    EXPECT_EQ(audioDuration(payload), kind.ticks) << "the last one, cut off, counts";
    payload[11 + kind.bytes] = 0;
    EXPECT_NE(audioDuration(payload), kind.ticks);
}

INSTANTIATE_TEST_SUITE_P(
    Kinds, AudioFramesTest,
    testing::Values(Kind{"MPEG 1 layer 2, 128 kbit/s, 48 kHz", {0xFF, 0xFD, 0x84, 0, 0, 0, 0}, 384, 6480},
                    Kind{"MPEG 1 layer 3, 128 kbit/s, 44.1 kHz, padded", {0xFF, 0xFB, 0x92, 0, 0, 0, 0}, 418, 7054},
                    Kind{"MPEG 2 layer 3, 64 kbit/s, 24 kHz", {0xFF, 0xF3, 0x84, 0, 0, 0, 0}, 192, 6480},
                    Kind{"MPEG 1 layer 1, 32 kbit/s, 32 kHz", {0xFF, 0xFF, 0x18, 0, 0, 0, 0}, 48, 3240},
                    Kind{"AAC, 44.1 kHz", {0xFF, 0xF1, 0x50, 0x80, 0x2E, 0x7F, 0xFC}, 371, 6270},
                    Kind{"AC-3, 192 kbit/s, 48 kHz", {0x0B, 0x77, 0, 0, 0x14, 0x40, 0}, 768, 8640},
                    Kind{"AC-3, 192 kbit/s, 44.1 kHz, odd", {0x0B, 0x77, 0, 0, 0x55, 0x40, 0}, 836, 9405},
                    Kind{"E-AC-3, 6 blocks, 48 kHz", {0x0B, 0x77, 0x01, 0x7F, 0x34, 0x80, 0}, 768, 8640}));

TEST(AudioFramesTest, OtherPayloadIsOfNoKnownKind)
{
    EXPECT_EQ(audioDuration(std::vector<uint8_t>(500, 0xFF)), std::nullopt);
    EXPECT_EQ(audioDuration(std::vector<uint8_t>(500, 0)), std::nullopt);
    EXPECT_EQ(audioDuration({}), std::nullopt);
}
