// Any bytes as sections of tables, and as packets: what is said of such a stream must be valid, and stay within bounds.

#include <osl/cpputils/assertion.h>
#include <osl/testing/section_maker.h>
#include <osl/ts_tables/stream_listener.h>

#include <algorithm>
#include <array>
#include <cstdint>

using namespace Osl::Ts;
using namespace Osl::Testing;

namespace {

constexpr std::array<uint16_t, 8> PIDS{0, 1, 0x10, 0x11, 0x12, 0x100, 0x101, NULL_PID};

/// A piece of the input: where it goes, what is done to it, and its bytes.
struct Piece
{
    uint16_t pid;
    bool isPacket;    ///< not sections
    bool hasCheckSum; ///< set right, so that what is inside is read
    Bytes bytes;
};

Piece takePiece(std::span<const uint8_t>& input)
{
    const uint8_t head = input[0];
    const std::size_t length = std::min<std::size_t>(input.size() - 2, std::size_t{input[1]} * (head & 0x10 ? 8U : 1U));
    Piece piece{PIDS[head & 7U], (head & 0x80) != 0, (head & 0x40) != 0, {}};
    piece.bytes.assign(input.begin() + 2, input.begin() + 2 + static_cast<std::ptrdiff_t>(length));
    input = input.subspan(2 + length);
    return piece;
}

/// Makes of the bytes a section with the length that it says, and with its check sum.
void seal(Bytes& section)
{
    if (section.size() < 3)
        return;
    const std::size_t length = section.size() + 1;
    section[1] = static_cast<uint8_t>((section[1] & 0x70) | 0x80 | (length >> 8 & 0x0F));
    section[2] = static_cast<uint8_t>(length);
    section = section + checkSum(section);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size)
{
    std::span<const uint8_t> input(data, size);
    SectionPacker packer;
    while (input.size() > 2) {
        Piece piece = takePiece(input);
        if (piece.isPacket) {
            piece.bytes.resize(TS_SIZE, 0xFF);
            piece.bytes[0] = SYNC_BYTE;
            packer.stream = std::move(packer.stream) + piece.bytes;
            continue;
        }
        if (piece.hasCheckSum)
            seal(piece.bytes);
        packer.add(piece.pid, piece.bytes);
    }
    for (const Hearing hearing : {Hearing::EVERYTHING, Hearing::SAMPLES}) {
        StreamListener listener(hearing);
        for (std::size_t at = 0; at < packer.stream.size(); at += TS_SIZE)
            listener.push(&packer.stream[at]);
        const Contents contents = listener.contents();
        const std::string text = toText(contents);
        OSL_ASSERT(!toJson(contents).empty()); // raises when a text is no UTF-8
        OSL_ASSERT(std::none_of(text.begin(), text.end(),
                                [](unsigned char c) { return (c < 0x20 && c != '\n') || c == 0x7F; }));
        OSL_ASSERT(contents.services.size() <= 8192 && contents.faults.size() <= 500);
        OSL_ASSERT(listener.namedPids().size() >= listener.tablePids().size());
    }
    return 0;
}
