#include "virtual_board/transfer_parser.h"

#include <osl/testing/packet_maker.h>
#include <osl/testing/test.h>

#include <fmt/format.h>

using namespace Osl::VirtualBoard;

namespace {

struct NotingEvents : ITransferEvents
{
    void onSegment(uint32_t spacing, uint32_t remainder) override
    {
        notes.push_back(fmt::format("segment {} {}", spacing, remainder));
    }
    void onPacket(uint32_t header, const uint8_t* packet) override
    {
        notes.push_back(fmt::format("packet {:08x} {:02x}", header, packet[187]));
    }
    void onGarbage(std::size_t bytes) override { notes.push_back(fmt::format("garbage {}", bytes)); }
    void onTruncated(std::size_t bytes) override { notes.push_back(fmt::format("truncated {}", bytes)); }

    std::vector<std::string> notes;
};

std::vector<uint8_t> head(uint8_t spacing, uint8_t remainder)
{
    std::vector<uint8_t> bytes(64);
    bytes[2] = spacing;
    bytes[6] = remainder;
    return bytes;
}

std::vector<uint8_t> record(uint8_t mark, uint8_t flags = 0)
{
    return std::vector<uint8_t>{flags, 0, 0, 5} + join({Packet().mark(mark)});
}

} // namespace

TEST(TransferParserTest, FindsSegmentsAndPacketsHoweverTheBytesAreCut)
{
    const auto cut = std::vector<uint8_t>(191, 0x47);
    const auto stream = head(1, 2) + record(1) + record(2, 0xC1) + head(0, 0) + record(3) + cut;
    for (const std::size_t piece : {1UL, 63UL, 64UL, 100UL, 192UL, 1000UL}) {
        NotingEvents events;
        TransferParser parser(events);
        for (std::size_t at = 0; at < stream.size(); at += piece)
            parser.feed(std::span(stream).subspan(at, std::min(piece, stream.size() - at)));
        parser.end();
        parser.end();
        EXPECT_THAT(events.notes, ElementsAre("segment 256 512", "packet 00000005 01", "packet c1000005 02",
                                              "segment 0 0", "packet 00000005 03", "truncated 191"));
    }
}
