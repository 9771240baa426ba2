#include "virtual_board/settings.h"

#include <osl/cpputils/error.h>
#include <osl/testing/failure_of.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace Osl::VirtualBoard;
using Osl::CppUtil::InvalidArgumentError;
using Osl::Testing::failureOf;
using testing::HasSubstr;

namespace {

Settings read(std::vector<const char*> arguments)
{
    arguments.insert(arguments.begin(), "zeb_virtual_board");
    arguments.push_back(nullptr);
    return readArguments(static_cast<int>(arguments.size()) - 1, const_cast<char**>(arguments.data()));
}

} // namespace

TEST(SettingsTest, ReadsOptionsFolderAndCommand)
{
    const Settings settings = read({"--feed", "tuner16=a=b", "--net", "--feed", "cam0=c", "--fast", "/"});
    EXPECT_EQ(settings.folder, "/");
    EXPECT_EQ(settings.network, Network::PRIVATE);
    EXPECT_EQ(settings.pace, Feed::Pace::FAST);
    ASSERT_EQ(settings.feeds.size(), 2U);
    EXPECT_EQ(settings.feeds[0].phyIIdx, 32U);
    EXPECT_EQ(settings.feeds[0].file, "a=b");
    EXPECT_EQ(settings.feeds[1].phyIIdx, 16U);
    EXPECT_EQ(settings.command, nullptr);
    EXPECT_EQ(read({"folder", "true"}).network, Network::NONE);
}

TEST(SettingsTest, RefusesWhatItDoesNotUnderstand)
{
    const auto refusal = [](const std::vector<const char*>& arguments) {
        return failureOf<InvalidArgumentError>([&] { read(arguments); });
    };
    EXPECT_THAT(refusal({}), HasSubstr("no folder was given"));
    EXPECT_THAT(refusal({"--net"}), HasSubstr("no folder was given"));
    EXPECT_THAT(refusal({"--feed"}), HasSubstr("unknown or incomplete option \"--feed\""));
    EXPECT_THAT(refusal({"--feed", "tuner0", "/"}), HasSubstr("--feed tuner0: expected PORT=FILE"));
    EXPECT_THAT(refusal({"--feed", "tuner22=a", "/"}), HasSubstr("there is no input \"tuner22\"; there are cam0, "));
    EXPECT_THAT(refusal({"--feed", "scm0=a", "--feed", "scm0=b", "/"}), HasSubstr("scm0 is fed already"));
}
