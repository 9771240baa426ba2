#include <osl/testing/random_routing.h>
#include <osl/testing/test.h>
#include <osl/zeb_routing/check.h>
#include <osl/zeb_routing/graph.h>
#include <osl/zeb_routing/json.h>
#include <osl/zeb_routing/source.h>
#include <osl/zeb_routing/text.h>

using namespace Osl::ZebRouting;

namespace {

std::string_view textOf(const std::vector<uint8_t>& bytes)
{
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

/// Statements take what can be written: not every port and count that rows may hold.
Routing withoutUnwritable(Routing facts)
{
    std::erase_if(facts.outputs, [](const Output& output) { return output.to.isPort && output.to.number > 31; });
    std::erase_if(facts.filters, [](const Filter& filter) { return filter.count > Filter::WHOLE_UNIT; });
    return facts;
}

void expectSameAfterAllForms(const Routing& facts)
{
    const std::string text = toText(facts);
    EXPECT_EQ(parseText(text), facts);
    EXPECT_EQ(toText(parseText(text)), text);
    EXPECT_EQ(parseJson(toJson(facts)), facts);
    EXPECT_TRUE(difference(facts, parseText(text)).empty());
}

} // namespace

TEST(RoundTripTest, FactsAreTheSameAfterEveryForm)
{
    for (uint32_t seed = 0; seed < 20; ++seed) {
        SCOPED_TRACE(seed);
        const Routing facts = RandomRoutings(seed).routing();
        const Tables tables = compile(facts);
        EXPECT_EQ(factsOf(tables), facts);
        expectSameAfterAllForms(facts);

        const Source image = parseSource(textOf(tables.toImage()));
        EXPECT_EQ(image.tables, tables);
        EXPECT_FALSE(image.routing.hasFilters);
        EXPECT_TRUE(difference(image.routing, facts).empty());
        EXPECT_EQ(parseJson(toJson(image.routing)), image.routing);
        EXPECT_EQ(rowDifference(image.tables, tables), "");
    }
}

TEST(RoundTripTest, AnyWordsHaveFacts)
{
    for (uint32_t seed = 0; seed < 20; ++seed) {
        SCOPED_TRACE(seed);
        const Source source = Source::of(RandomRoutings(seed).rubbish());
        Routing facts = withoutUnwritable(source.routing);
        expectSameAfterAllForms(facts);
        EXPECT_FALSE(rowText(source.tables).empty());
        EXPECT_FALSE(toGraph(facts).empty());
        toText(check(source));
        try {
            EXPECT_EQ(factsOf(compile(facts)), facts);
        } catch (const RoutingError&) { // more rows than there are, where lists had a common end
        }
    }
}

TEST(RoundTripTest, ALongListThatAllRoutesEnterElsewhereIsRead)
{
    namespace Zeb = Osl::Drivers::Zeb;
    Tables tables;
    for (uint32_t row = 1; row < 4096; ++row) // in a ring
        tables.setRow(Zeb::O_PID_MAP, row, std::array<uint32_t, 2>{0x00600000U | row << 8 | row % 256, row % 4095 + 1});
    for (uint32_t row = 0; row < 64; ++row)
        tables.setRow(Zeb::PID_LUT, row, std::array<uint32_t, 2>{row, 0xFF001001 + row});
    EXPECT_EQ(factsOf(tables).routes.size(), 64U * 4095U);
}
