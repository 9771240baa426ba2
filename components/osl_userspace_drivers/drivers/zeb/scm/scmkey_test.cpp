#include <osl/userspace_drivers/drivers/zeb/scm/scmkey.h>

#include <gtest/gtest.h>

using namespace Osl::Drivers::Zeb;

TEST(ScmKeyTest, TheLastDigitsAreTheFirstWordAndTheTextReadsBack)
{
    const std::string digits = "0F1E2D3C4B5A69788796A5B4C3D2E1F0";
    EXPECT_EQ(parseScmKey(digits), (ScmKey{0xC3D2E1F0, 0x8796A5B4, 0x4B5A6978, 0x0F1E2D3C}));
    EXPECT_EQ(toString(parseScmKey(digits).value()), digits);
    EXPECT_EQ(toString(parseScmKey("0f1e2d3c4b5a69788796a5b4c3d2e1f0").value()), digits);
    EXPECT_EQ(toString(ScmKey{1, 0, 0, 0}), "00000000000000000000000000000001");
}

TEST(ScmKeyTest, AnythingButThirtyTwoDigitsIsNoKey)
{
    const std::string digits(32, 'a');
    for (const std::string& text : {std::string(), digits.substr(1), digits + "a", "0x" + digits})
        EXPECT_FALSE(parseScmKey(text)) << text;
    for (std::size_t at = 0; at < digits.size(); ++at) {
        for (const char bad : {'g', ' ', 'x', '-', '+', '\n', '\0'}) {
            std::string text = digits;
            text[at] = bad;
            EXPECT_FALSE(parseScmKey(text)) << text;
        }
    }
}
