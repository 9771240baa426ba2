#include <osl/testing/test.h>
#include <osl/userspace_drivers/drivers/zeb/ts/port_names.h>

#include <array>
#include <tuple>

using namespace Osl::Drivers::Zeb;

TEST(PortNamesTest, NamesLeadToTheirIndicesAndGapsStayGaps)
{
    EXPECT_THAT((std::array{physicalInputs().size(), physicalOutputs().size(), mediaPlayers().size()}),
                ElementsAre(32, 26, 4));
    EXPECT_EQ(physicalOutputs().at("modulator3"), 3U);
    EXPECT_EQ(physicalInputs().count("modulator3"), 0U);

    using Index = uint32_t (*)(uint32_t);
    const std::tuple<Index, uint32_t, uint32_t> ports[] = {
        {tunerIndex, 0, 0},       {tunerIndex, 15, 15},    {tunerIndex, 16, 32},   {tunerIndex, 21, 37},
        {camInputIndex, 7, 23},   {camOutputIndex, 0, 16}, {scmInputIndex, 0, 24}, {scmOutputIndex, 7, 31},
        {modulatorIndex, 15, 15}, {mediaPlayerIndex, 3, 3}};
    for (const auto& [index, number, expected] : ports)
        EXPECT_EQ(index(number), expected) << number;
    EXPECT_EQ(failureOf<std::out_of_range>([] { scmInputIndex(1); }), "map::at");
    const std::pair<Index, uint32_t> gaps[] = {{camInputIndex, 8},   {camOutputIndex, 8}, {tunerIndex, 22},
                                               {modulatorIndex, 16}, {scmOutputIndex, 6}, {mediaPlayerIndex, 4}};
    for (const auto& [index, number] : gaps)
        EXPECT_THROW(index(number), std::out_of_range) << number;
}
