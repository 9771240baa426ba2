#include "virtual_board/active_ip_lut.h"

#include <osl/testing/test.h>

using namespace Osl::VirtualBoard;

namespace {

/// All words here are literal, so that an error in the layouts cannot hide in model and test alike.
class ActiveIpLutTest : public testing::Test
{
protected:
    ActiveIpLutTest() { fill({}); }
    void fill(const std::vector<std::pair<uint32_t, uint32_t>>& rows)
    {
        for (uint32_t row = 0; row < 256; ++row) {
            words[2048 + 2 * row] = row < rows.size() ? rows[row].first : 0;
            words[2049 + 2 * row] = row < rows.size() ? rows[row].second : 0x00FFFFFF;
        }
    }

    std::vector<uint32_t> words = std::vector<uint32_t>(0x1000);
    static constexpr std::pair<uint32_t, uint32_t> FIRST{0xEF010203, 0x010504D2}; // 239.1.2.3:1234 to TSI 5
    static constexpr std::pair<uint32_t, uint32_t> SECOND{0xEF010204, 0x01060050};
    static constexpr IpLutRow FIRST_ROW{0xEF010203, 1234, 5};
};

} // namespace

TEST_F(ActiveIpLutTest, WhatIsWrittenCountsFromTheSwitchOfTheBankOn)
{
    ActiveIpLut lut(words.data());
    fill({FIRST});
    EXPECT_FALSE(lut.followBank());
    EXPECT_THAT(lut.rows(), IsEmpty());
    words[0] ^= 1;
    EXPECT_TRUE(lut.followBank());
    fill({FIRST, SECOND});
    EXPECT_FALSE(lut.followBank());
    EXPECT_THAT(lut.rows(), ElementsAre(FIRST_ROW));
    words[0] ^= 0x11;
    EXPECT_TRUE(lut.followBank());
    EXPECT_THAT(lut.rows(), ElementsAre(FIRST_ROW, IpLutRow{0xEF010204, 80, 6}));
}

TEST_F(ActiveIpLutTest, ShowsTheActiveTableAgainInPlaceOfAPartOfAnother)
{
    fill({FIRST});
    ActiveIpLut lut(words.data());
    const auto active = words;
    for (const auto& [rows, alone] : {std::pair(std::vector{SECOND, FIRST}, false), {std::vector{SECOND}, true}}) {
        fill(rows);
        EXPECT_TRUE(lut.isBeingFilled());
        EXPECT_FALSE(lut.endFilling(alone));
        EXPECT_EQ(words, active);
    }
    fill({});
    EXPECT_TRUE(lut.endFilling(true)) << "cleared";
    for (const auto& whole : {std::vector{FIRST, SECOND}, {}}) {
        fill(whole);
        EXPECT_FALSE(lut.followBank());
        EXPECT_TRUE(lut.endFilling(false)) << "after two switches";
        EXPECT_EQ(lut.rows().size(), whole.size());
        EXPECT_FALSE(lut.isBeingFilled());
    }
}

TEST_F(ActiveIpLutTest, StuffingInFrontIsAFaultAndAPortOfItsOwnIsNone)
{
    fill({FIRST, {0xEF010203, 0x010604D3}});
    EXPECT_EQ(ActiveIpLut(words.data()).fault(), "");
    fill({{0, 0x00FFFFFF}, FIRST});
    EXPECT_EQ(ActiveIpLut(words.data()).fault(), "IP LUT: row 1 of the active bank is not in order");
}
