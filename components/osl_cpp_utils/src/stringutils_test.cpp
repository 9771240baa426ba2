#include <osl/cpputils/error.h>
#include <osl/cpputils/stringutils.h>
#include <osl/testing/test.h>

#include <regex>

using namespace Osl::CppUtil;
using std::string;

TEST(StringUtilsTest, HexStringToBytesTakesDigitPairsInTextOrder)
{
    EXPECT_EQ(hexStringToBytes("001A2bff"), string("\x00\x1A\x2B\xFF", 4));
    for (const auto& [text, reason] :
         {std::pair("", "Invalid string length, must contain a non-zero and even number of characters.("),
          {"abc", "Invalid string length, must"},
          {"0g", "Invalid found character in string("},
          {"0x12", "Invalid found"}})
        EXPECT_THAT(failureOf<ParsingError>([&, hex = text] { hexStringToBytes(hex); }),
                    StartsWith(string("Generic parsing Error: ") + reason));
}

TEST(StringUtilsTest, ParseUint32TakesTheWholeTextOrNothing)
{
    EXPECT_EQ(parseUint32("0"), 0U);
    EXPECT_EQ(parseUint32("010"), 10U);
    EXPECT_EQ(parseUint32("4294967295"), 0xFFFFFFFFU);
    EXPECT_EQ(parseUint32("0xFfffffff"), 0xFFFFFFFFU);
    EXPECT_EQ(parseUint32("0x00000000001"), 1U);
    for (const char* text : {"", "0x", "-1", "+1", "1 ", " 1", "1x", "ff", "0xg", "4294967296", "0x100000000", "1.0",
                             "0x-1", "--1", "0X1"})
        EXPECT_EQ(parseUint32(text), std::nullopt) << text;
}

TEST(StringUtilsTest, IsNumberAgreesWithItsRegularExpression)
{
    const std::regex shape("(-)?(0x)?([0-9a-fA-F][0-9a-fA-F]*)|((0x)?0)");
    for (const char* text : {"0", "0x0", "-0", "DEAD", "ff", "-0x1F", "", "0x", "-", "-0x", "+5", "1 2", "0x0x1", "--1",
                             "0xg", "x1", "00x1"})
        EXPECT_EQ(isNumber(text), std::regex_match(text, shape)) << text;
}

TEST(StringUtilsTest, SmallHelpers)
{
    EXPECT_TRUE(split("", ',').empty());
    EXPECT_THAT(split("a,,b,", ','), ElementsAre("a", "", "b", ""));
    EXPECT_TRUE(isUpperCaseWord("ABC"));
    for (const char* text : {"", "AbC", "A1", "A "})
        EXPECT_FALSE(isUpperCaseWord(text)) << text;
    EXPECT_EQ(trimLeft(" \t\n a b ") + trimLeft("  "), "a b ");
    EXPECT_EQ(toLower("RPIDLUT-\xC4"), "rpidlut-\xC4");
    EXPECT_EQ(lastChars("abcd", 3) + lastChars("abcd", 9), "bcdabcd");
    EXPECT_EQ(slashesToUnderscores("/dev/x"), "_dev_x");
    EXPECT_TRUE(endsWith("", "x") && endsWith(".ts", "a.ts"));
    EXPECT_FALSE(endsWith("aa.ts", "a.ts"));
    EXPECT_TRUE(std::regex_match("23:59:59x99", std::regex(TIME_HUNDREDTHS_PATTERN)));
    EXPECT_FALSE(std::regex_match("24:00:00", std::regex(TIME_SECONDS_PATTERN)));
    EXPECT_TRUE(std::regex_match("09:07", std::regex(TIME_MINUTES_PATTERN)));
}
