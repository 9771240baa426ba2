#include "zeb_fpga_shell/cli/options.h"
#include "zeb_fpga_shell/shell_error.h"

#include <osl/testing/test.h>

#include <array>

using namespace Osl::Utils;

namespace {

constexpr std::array DECLARATIONS{
    OptionDecl{"o,offset", OptionKind::NUMBER, "Offset.", "16"},
    OptionDecl{"t,tsiidx", OptionKind::NUMBER, "TSIIDX."},
    OptionDecl{"i,ip", OptionKind::TEXT, "Address.", "239.192.0.42"},
    OptionDecl{"tso", OptionKind::NUMBERS, "TSOs."},
    OptionDecl{"c,clear", OptionKind::FLAG, "Clears."},
    HELP_OPTION,
};

class OptionsTest : public testing::Test
{
protected:
    OptionsTest() { m_Options.add(DECLARATIONS); }

    bool parse(std::vector<const char*> words)
    {
        words.insert(words.begin(), {"/usr/bin/zeb_fpga_shell", "cmd"});
        return m_Options.parse(static_cast<int>(words.size()), words.data());
    }
    std::string refusal(const std::vector<const char*>& words)
    {
        return failureOf<ShellError>([&] { parse(words); });
    }

    Options m_Options{"cmd", "What it does."};
};

} // namespace

TEST_F(OptionsTest, ValuesAreTheGivenOnesElseTheDefaultElseNothing)
{
    ASSERT_TRUE(parse({}));
    EXPECT_EQ(m_Options["offset"].as<uint32_t>(), 16U);
    EXPECT_EQ(m_Options.count("offset"), 0U);
    EXPECT_EQ(m_Options["tsiidx"].as<uint32_t>(), 0U);
    EXPECT_EQ(m_Options["ip"].as<std::string>(), "239.192.0.42");
    EXPECT_TRUE(m_Options["tso"].as<std::vector<uint32_t>>().empty());
    EXPECT_EQ(m_Options.count("clear"), 0U);

    ASSERT_TRUE(parse(
        {"-o", "4294967295", "-o", "0xFFFFFFFF", "--tsiidx=3", "-i", "1.2.3.4", "--tso", "7", "--tso=0x8,9", "-cc"}));
    EXPECT_EQ(m_Options["offset"].as<uint32_t>(), 0xFFFFFFFFU);
    EXPECT_EQ(m_Options["tsiidx"].as<uint32_t>(), 3U);
    EXPECT_EQ(m_Options["ip"].as<std::string>(), "1.2.3.4");
    EXPECT_THAT(m_Options["tso"].as<std::vector<uint32_t>>(), ElementsAre(7U, 8U, 9U));
    EXPECT_EQ(m_Options.count("clear"), 2U);
}

TEST_F(OptionsTest, NumbersThatAreNotWholly32BitAreRefusedNeverWrapped)
{
    for (const char* text : {"-1", "0x1ffffffff", "12abc", ""}) {
        EXPECT_THAT(refusal({"--tso", "1", "--tso", text}), StartsWith("Shell Error: Options parsing failed: "));
        EXPECT_THAT(refusal({"-o", text, "-o", "1"}), HasSubstr(" of option \"offset\" is not a number"));
    }
}

TEST_F(OptionsTest, UnknownOptionsAreToldApartFromOtherFaults)
{
    EXPECT_FALSE(parse({"-x"}));
    EXPECT_FALSE(parse({"--nothing"}));
    EXPECT_FALSE(parse({"-cx"}));
    for (const auto& words : std::vector<std::vector<const char*>>{
             {"-o"}, {"--ip"}, {"--clear=false"}, {"--clear=x"}, {"--clear=false", "-c"}})
        EXPECT_THAT(refusal(words), StartsWith("Shell Error: Options parsing failed: ")) << words[0];
}

TEST_F(OptionsTest, AnOptionOfOneValueTakesNoSecondOne)
{
    EXPECT_THAT(refusal({"-o", "16", "-c", "--offset=0x11"}),
                HasSubstr("Option \"offset\" takes one value, and was given \"16\" and \"0x11\""));
    EXPECT_THAT(refusal({"-i", "239.1.1.1", "-i", "239.1.1.1", "-i", ""}),
                HasSubstr("Option \"ip\" takes one value, and was given \"239.1.1.1\" and \"\""));
    EXPECT_TRUE(parse({"-i", "239.1.1.1", "-i", "239.1.1.1"}));
}

TEST_F(OptionsTest, WordsThatBelongToNoOptionAreRefusedUnlessHelpIsAskedFor)
{
    EXPECT_TRUE(parse({"-o", "1", "c", "-h"}));
    EXPECT_THAT(refusal({"-o", "1", "c"}), HasSubstr("Options parsing failed: unexpected argument \"c\""));
    EXPECT_THAT(refusal({"-c", "1"}), HasSubstr("unexpected argument \"1\""));
    EXPECT_THAT(refusal({"--", "-c"}), HasSubstr("unexpected argument \"-c\""));
}
