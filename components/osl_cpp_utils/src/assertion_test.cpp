#include <osl/cpputils/assertion.h>
#include <osl/testing/emulation.h>
#include <osl/testing/test.h>

#include <vector>

using namespace Osl::CppUtil;

TEST(AssertionTest, ReportNamesExpressionMessageAndPlace)
{
    std::vector<std::string> reports;
    assertionHandler() = {.abortOnFailure = false,
                          .reportSink = [&reports](const std::string& text) { reports.push_back(text); },
                          .stackTraceProvider = {}};
    OSL_ASSERT(1 + 1 == 2);
    check(false, "a == b", "", "f.cpp", 12);
    assertionHandler().stackTraceProvider = [] { return "frame"; };
    check(false, "a == b", "why", "f.cpp", 12);
    assertionHandler() = AssertionHandler();
    EXPECT_EQ(reports,
              (std::vector<std::string>{"Assertion failed: [a == b] \nat:f.cpp:12\n", "Stacktrace: Not available",
                                        "Assertion failed: [a == b] \nat:f.cpp:12\nwhy\n", "Stacktrace:\nframe"}));
}

TEST(AssertionDeathTest, DefaultReportsFourLinesAndAborts)
{
    OSL_SKIP_UNDER_QEMU("does not tell that its program aborted");
    EXPECT_EXIT(check(false, "ret.size() == TOT_WORDS", "", "diag.cpp", 7), testing::KilledBySignal(SIGABRT),
                "^Assertion failed: \\[ret.size\\(\\) == TOT_WORDS\\] \nat:diag.cpp:7\nAborting process!\n"
                "Stacktrace: Not available\n$");
}
