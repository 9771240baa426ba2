// Somebody listens to a board: whatever the board routes, no packet goes elsewhere meanwhile, and wherever the listener
// is killed, what it has left is found.

#include <osl/testing/random_routing.h>
#include <osl/testing/test.h>
#include <osl/testing/watched_board.h>
#include <osl/zeb_routing/listening.h>
#include <osl/zeb_routing/text.h>
#include <osl/zeb_routing/translation.h>

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cstdlib>

using namespace Osl::ZebRouting;

namespace {

constexpr std::array<uint16_t, 8> PIDS{0, 1, 2, 3, 0x100, 0x1234, 8190, 8191};

class Listener
{
public:
    explicit Listener(uint32_t seed) : m_Chance(seed)
    {
        m_Routing = m_Chance.routing();
        m_Tsi = m_Routing.routes.empty() ? uint8_t{9} : m_Routing.routes.front().packets.tsi;
        m_Board.execute(planChange(m_Board.tables(), m_Routing));
        m_Before = m_Board.tables();
        m_Now = m_Before;
        m_Ways = ways();
        m_Board.pid.onWrite = [this](uint32_t offset) { look(offset); };
    }

    void goTo(const Tables& target)
    {
        const Plan plan = planCopies(m_Now, target);
        m_Board.execute(plan);
        m_Now = plan.result;
        EXPECT_EQ(rowDifference(m_Board.tables(), target), "");
    }

    Copies someCopies(bool isCounting)
    {
        const auto counters = freeCounters(m_Before);
        Copies copies;
        for (const uint16_t pid : PIDS)
            if (Selector{m_Tsi, pid} != Selector{255, 8191} && !m_Chance.once(4) &&
                (!isCounting || copies.size() < counters.size()))
                copies[pid] = isCounting ? Copy{m_Chance.once(2), counters[copies.size()]} : Copy{m_Chance.once(2)};
        return copies;
    }
    Tables with(const Copies& copies) const { return withCopies(m_Before, m_Tsi, copies); }
    const Tables& before() const { return m_Before; }
    const std::string& broken() const { return m_Broken; }
    std::size_t looks() const { return m_Looks; }

private:
    /// Where packets go, to outputs and by what is not the listener's: filters and TSOs that were free are.
    std::vector<PacketCopies> ways() const
    {
        std::vector<PacketCopies> all;
        const auto counters = freeCounters(m_Before);
        for (const uint32_t tsi : {uint32_t{m_Tsi}, m_Tsi ^ 1U}) {
            for (const uint16_t pid : PIDS) {
                PacketCopies copies = lookUp(m_Board.pid.words, tsi, pid);
                std::erase_if(copies, [&](const auto& copy) {
                    const uint32_t to = copy.first;
                    return to >= 1000 ? isFreeFilter(to - 1000)
                                      : std::find(counters.begin(), counters.end(), to) != counters.end();
                });
                all.push_back(copies);
            }
        }
        return all;
    }

    bool isFreeFilter(uint32_t filter) const
    {
        const auto has = [&](const auto& facts, const auto& isIt) {
            return std::any_of(facts.begin(), facts.end(), isIt);
        };
        return filter != 255 && !has(m_Routing.filters, [&](const Filter& row) { return row.filter == filter; }) &&
               !has(m_Routing.routes,
                    [&](const Route& route) { return route.to.isCpu() && route.to.filter() == filter; });
    }

    void look(uint32_t offset)
    {
        if (offset >= 8192 && offset < 16384 && offset % 1000 != 0) // rows that nobody looks up before the switch
            return;
        ++m_Looks;
        if (ways() != m_Ways)
            m_Broken += fmt::format("a packet goes another way after a write to {}\n", offset);
        const Tables tables = m_Board.tables();
        const Tables rest = withoutCopies(tables);
        const std::string differences = toText(difference(factsOf(rest), m_Routing));
        if (!differences.empty() || planCopies(tables, rest).result != rest)
            m_Broken += fmt::format("left after a write to {}: {}\n", offset, differences);
    }

    Osl::Testing::RandomRoutings m_Chance;
    WatchedBoard m_Board;
    Routing m_Routing;
    uint8_t m_Tsi;
    Tables m_Before;
    Tables m_Now;
    std::vector<PacketCopies> m_Ways;
    std::string m_Broken;
    std::size_t m_Looks = 0;
};

} // namespace

TEST(ListeningTest, ChangesNoPacketsWayAndWhatIsLeftIsFoundWhereverItIsBrokenOff)
{
    const char* const more = std::getenv("PLAN_PAIRS"); // a longer proof sets it
    const int seeds = more == nullptr ? 3 : std::atoi(more);
    for (int seed = 0; seed < seeds; ++seed) {
        SCOPED_TRACE(seed);
        Listener listener(static_cast<uint32_t>(seed));
        listener.goTo(listener.with(listener.someCopies(false)));
        listener.goTo(listener.with(listener.someCopies(false)));
        listener.goTo(listener.with(listener.someCopies(true)));
        listener.goTo(listener.before());
        EXPECT_EQ(listener.broken(), "");
        EXPECT_GT(listener.looks(), 20U);
    }
}

TEST(ListeningTest, RefusesTablesOnWhichItWouldChangeWhatIsFound)
{
    Tables tables = compile(parseText("route 9:1 to 3\nroute 9:2 to 4\n"));
    const auto first = tables.row(Osl::Drivers::Zeb::PID_LUT, 0);
    tables.setRow(Osl::Drivers::Zeb::PID_LUT, 5, std::vector(first.begin(), first.end()));
    EXPECT_THAT(failureOf<RoutingError>([&] { withCopies(tables, 9, {{7, {}}}); }), HasSubstr("not in order at row 5"));
}
