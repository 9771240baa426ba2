// What the model of routings says about a packet, against where the board sends it.

#include "virtual_board/router.h"

#include <osl/testing/packet_maker.h>
#include <osl/testing/random_routing.h>
#include <osl/testing/test.h>
#include <osl/zeb_routing/check.h>
#include <osl/zeb_routing/trace.h>

#include <algorithm>
#include <set>
#include <utility>
#include <vector>

using namespace Osl::VirtualBoard;
using namespace Osl::ZebRouting;
namespace Zeb = Osl::Drivers::Zeb;

namespace {

using Exits = std::set<std::pair<int, int>>; ///< TSO, or -1 for the processor, and PID

struct ExitSinks : IPacketSinks
{
    void toCpu(uint8_t, const uint8_t* packet) override { exits.emplace(-1, Osl::Ts::Ll::pid(packet)); }
    void toOutput(uint8_t tso, const uint8_t* packet) override { exits.emplace(tso, Osl::Ts::Ll::pid(packet)); }
    void complain(const std::string&) override {}

    Exits exits;
};

/// A board with these tables.
class Board
{
public:
    explicit Board(const Tables& tables) : m_Words(0x8000)
    {
        for (const Zeb::TableLayout* table : {&Zeb::PID_LUT, &Zeb::TSI_MAP, &Zeb::FILTER_TABLE, &Zeb::O_PID_MAP}) {
            const auto words = tables.words(*table);
            std::copy(words.begin(), words.end(), m_Words.begin() + table->activeBase[0]);
        }
    }

    /// Where a packet goes that begins a payload unit, which every filter that is set lets through.
    Exits send(const Selector& packets)
    {
        m_Sinks.exits.clear();
        m_Router.fromInput(packets.tsi, Packet(packets.pid).unit({}).bytes.data());
        return m_Sinks.exits;
    }

private:
    std::vector<uint32_t> m_Words;
    ExitSinks m_Sinks;
    Router m_Router{m_Words.data(), m_Sinks};
};

Exits traced(const Source& source, const Selector& packets)
{
    const Trace found = trace(source, packets.tsi, packets.pid);
    EXPECT_EQ(found.exits.empty(), !found.dropped.empty());
    Exits exits;
    for (const Exit& exit : found.exits)
        exits.emplace(exit.tso ? *exit.tso : -1, exit.pid);
    return exits;
}

/// The (TSI, PID) of every `step`th row, its neighbours, and a few that have no row: all others are like these.
std::set<Selector> packetsOfInterest(const Tables& tables, RandomRoutings& random, uint32_t step = 1)
{
    std::set<Selector> packets;
    for (uint32_t row = 0; row < Zeb::PID_LUT.rows; row += step) {
        const uint32_t key = tables.row(Zeb::PID_LUT, row)[0];
        const auto tsi = static_cast<uint8_t>(key >> 13);
        for (const uint32_t pid : {key, key + 1, key - 1})
            packets.insert({tsi, static_cast<uint16_t>(pid % 8192)});
    }
    for (int i = 0; i < 16; ++i)
        packets.insert({static_cast<uint8_t>(random.below(256)), static_cast<uint16_t>(random.below(8192))});
    packets.insert({static_cast<uint8_t>(255), static_cast<uint16_t>(8191)});
    return packets;
}

bool isInOrder(const Source& source)
{
    const std::vector<Finding> findings = check(source);
    return std::none_of(findings.begin(), findings.end(),
                        [](const Finding& f) { return f.code == "unsorted" || f.code == "doubled-row"; });
}

} // namespace

TEST(TraceTest, AgreesWithTheBoardForEveryPacket)
{
    int inOrder = 0;
    for (uint32_t seed = 0; seed < 30; ++seed) {
        SCOPED_TRACE(seed);
        RandomRoutings random(seed);
        const Source source = Source::of(seed % 3 == 0 ? random.rubbish() : compile(random.routing()));
        Board board(source.tables);
        std::optional<Source> again; // by way of the facts
        try {
            if (isInOrder(source))
                again = Source::of(compile(source.routing));
        } catch (const RoutingError&) { // needs more rows
        }
        inOrder += again ? 1 : 0;
        for (const Selector& packets : packetsOfInterest(source.tables, random, seed % 3 == 0 ? 32 : 1)) {
            const Exits exits = board.send(packets);
            ASSERT_EQ(traced(source, packets), exits) << toString(packets);
            if (again) {
                ASSERT_EQ(traced(*again, packets), exits) << toString(packets) << " of the same facts";
            }
        }
    }
    EXPECT_GT(inOrder, 15);
}

TEST(TraceTest, BackwardFindsWhatForwardLeaves)
{
    for (uint32_t seed = 0; seed < 10; ++seed) {
        SCOPED_TRACE(seed);
        RandomRoutings random(seed);
        const Source source = Source::of(compile(random.routing()));
        for (const Selector& packets : packetsOfInterest(source.tables, random)) {
            for (const auto& [tso, pid] : traced(source, packets)) {
                if (tso < 0)
                    continue;
                const BackTrace back = traceBack(source, static_cast<uint8_t>(tso), static_cast<uint16_t>(pid));
                ASSERT_TRUE(std::any_of(back.from.begin(), back.from.end(), [&](const Origin& origin) {
                    return origin.packets == packets || origin.packets == Selector{packets.tsi, Selector::ALL_PIDS};
                })) << toString(packets);
            }
        }
    }
}
