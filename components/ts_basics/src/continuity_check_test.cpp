#include <osl/testing/packet_maker.h>
#include <osl/testing/test.h>
#include <osl/ts_basics/continuity_check.h>

using namespace Osl::Ts;

namespace {

Packet cc(uint8_t counter) { return Packet().counter(counter); }
Packet noPayload(uint8_t counter) { return cc(counter).adaptation().noPayload(); }
Packet announced(uint8_t counter)
{
    Packet packet = cc(counter).adaptation();
    Ll::setDiscontinuity(packet.bytes.data());
    return packet;
}
Packet broken(uint8_t counter)
{
    Packet packet = cc(counter);
    packet.bytes[1] |= 0x80;
    return packet;
}

} // namespace

TEST(ContinuityCheckTest, FindsThePacketThatMayNotFollow)
{
    constexpr std::size_t NONE = 99;
    const Packet null = Packet(NULL_PID).counter(3);
    const std::vector<std::pair<std::vector<Packet>, std::size_t>> CASES{
        {{cc(14), cc(15), cc(0), cc(1)}, NONE},
        {{cc(14), cc(15), cc(0), cc(2), cc(3)}, 3},
        {{cc(0), cc(0), cc(1)}, NONE},     // may come twice …
        {{cc(0), cc(0), cc(0), cc(1)}, 2}, // … but not three times
        {{cc(2), cc(1)}, 1},
        {{cc(0), noPayload(0), noPayload(0), cc(1)}, NONE},
        {{cc(0), noPayload(1), noPayload(1)}, 1},
        {{cc(0), announced(9), cc(10)}, NONE},
        {{null, null, null}, NONE},
        {{cc(0), broken(1), cc(2), broken(15), cc(4)}, NONE}, // it came, whatever it is
        {{cc(0), broken(1), cc(1)}, NONE},                    // it was of another PID
        {{broken(7), cc(3), cc(4)}, NONE},
        {{cc(0), broken(1), cc(3)}, 2},
        {{cc(0), broken(1), broken(2), cc(3), broken(4), noPayload(4), cc(5)}, NONE},
        {{cc(0), broken(1), noPayload(2)}, 2},
    };
    for (std::size_t i = 0; i < CASES.size(); ++i) {
        const auto& [packets, wrong] = CASES[i];
        ContinuityCheck check;
        for (std::size_t at = 0; at < packets.size(); ++at)
            EXPECT_EQ(check.isError(packets[at].bytes.data()), at == wrong) << "case " << i << ", packet " << at;
    }
}
