#include <osl/cpputils/assertion.h>
#include <osl/testing/emulation.h>

#include <gtest/gtest.h>

#include <vector>

using namespace Osl::CppUtil;

namespace {

/// Collects what the handler reports instead of letting it abort; puts the defaults back.
class AssertionTest : public testing::Test
{
protected:
    void collect()
    {
        assertionHandler().abortOnFailure = false;
        assertionHandler().reportSink = [this](const std::string& text) { m_Reports.push_back(text); };
    }
    void TearDown() override { assertionHandler() = AssertionHandler(); }

    std::vector<std::string> m_Reports;
};

} // namespace

TEST_F(AssertionTest, TrueConditionReportsNothing)
{
    collect();
    OSL_ASSERT(1 + 1 == 2);
    EXPECT_TRUE(m_Reports.empty());
}

TEST_F(AssertionTest, ReportNamesExpressionMessageAndPlace)
{
    collect();
    check(false, "a == b", "", "f.cpp", 12);
    check(false, "a == b", "why", "f.cpp", 12);
    assertionHandler().stackTraceProvider = [] { return "frame"; };
    check(false, "x", "", "f.cpp", 1);
    EXPECT_EQ(m_Reports,
              (std::vector<std::string>{"Assertion failed: [a == b] \nat:f.cpp:12\n", "Stacktrace: Not available",
                                        "Assertion failed: [a == b] \nat:f.cpp:12\nwhy\n", "Stacktrace: Not available",
                                        "Assertion failed: [x] \nat:f.cpp:1\n", "Stacktrace:\nframe"}));
}

TEST(AssertionDeathTest, DefaultReportsFourLinesAndAborts)
{
    OSL_SKIP_UNDER_QEMU("does not tell that its program aborted");
    EXPECT_EXIT(check(false, "ret.size() == TOT_WORDS", "", "diag.cpp", 7), testing::KilledBySignal(SIGABRT),
                "^Assertion failed: \\[ret.size\\(\\) == TOT_WORDS\\] \nat:diag.cpp:7\nAborting process!\n"
                "Stacktrace: Not available\n$");
}
