#include <osl/cpputils/error.h>
#include <osl/cpputils/log.h>
#include <osl/testing/test.h>

using namespace Osl::CppUtil;

// The log is one per process and cannot be taken down again, so each case runs in a child process of its own.

TEST(LogDeathTest, WritesTimeLevelAndTextToStandardErrorFromTheLastThresholdUp)
{
    EXPECT_EXIT(
        {
            Log::setUp(Log::Level::CRITICAL);
            Log::setUp(Log::Level::WARNING);
            Log::instance().write(Log::Level::INFO, "hidden");
            Log::instance().warning("{} lost", 3);
            std::exit(0);
        },
        testing::ExitedWithCode(0), "^[0-9:.]+ warning: 3 lost\n$");
}

TEST(LogDeathTest, UsedBeforeSetUpItFallsBackToStandardOutputAndSaysSoOnce)
{
    EXPECT_EXIT(
        {
            testing::internal::CaptureStdout();
            Log::instance().warning("a");
            Log::instance().warning("b");
            const std::string text = testing::internal::GetCapturedStdout();
            EXPECT_THAT(text, MatchesRegex("No logsystem initialized. Falling back to stdout.\n"
                                           "[0-9:.]+ warning: a\n[0-9:.]+ warning: b\n"));
            std::exit(testing::Test::HasFailure() ? 1 : 0);
        },
        testing::ExitedWithCode(0), "");
}

TEST(LogTest, LevelNames)
{
    EXPECT_EQ(Log::levelFromName("trace"), Log::Level::TRACE);
    EXPECT_EQ(Log::levelFromName("critical"), Log::Level::CRITICAL);
    for (const char* name : {"", "Warning", "warn", "off"})
        EXPECT_THROW(Log::levelFromName(name), InvalidArgumentError) << name;
}
