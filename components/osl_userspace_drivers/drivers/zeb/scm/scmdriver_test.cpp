#include <osl/testing/failure_of.h>
#include <osl/testing/fake_mem.h>
#include <osl/userspace_drivers/drivers/drivererror.h>
#include <osl/userspace_drivers/drivers/zeb/scm/scmdriver.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace Osl::Drivers::Zeb;
using Osl::CppUtil::InvalidArgumentError;
using Osl::Testing::failureOf;
using Osl::Testing::FakeMem;
using testing::StartsWith;

namespace {

constexpr uint32_t BANK_A = 1024;
constexpr uint32_t BANK_B = 1536;
constexpr uint32_t ROWS = 512;

class ScmDriverTest : public testing::Test
{
protected:
    ScmDriverTest() { std::fill_n(m_Mem.words.begin() + BANK_A, 2 * ROWS, 0xFFFFFFFF); }

    std::vector<uint32_t> bank(uint32_t base) const
    {
        return {m_Mem.words.begin() + base, m_Mem.words.begin() + base + ROWS};
    }
    std::vector<uint32_t> activeBank() const { return bank(m_Mem.words[4] != 0 ? BANK_B : BANK_A); }

    /// Bank A of `count` entries of scrambler 7, PIDs 0 on, in use.
    void fill(uint32_t count)
    {
        for (uint32_t pid = 0; pid < count; ++pid)
            m_Mem.words[BANK_A + pid] = 7U << 13 | pid;
    }

    FakeMem m_Mem{2048};
    ScmDriver m_Scm{m_Mem};
};

} // namespace

TEST_F(ScmDriverTest, FillsTheSpareBankAndSwitchesLast)
{
    m_Mem.words[4] = 0x80;
    m_Mem.words[BANK_B] = ~0x1FFFU; // an entry of PID 0; bits without a name keep their value
    m_Scm.insert({0x100, 1, 63});
    std::vector<uint32_t> expected(ROWS, 0xFFFFFFFF);
    expected[0] = 63U << 16 | 1U << 13 | 0x100;
    expected[1] = ~0x1FFFU;
    EXPECT_EQ(bank(BANK_A), expected);
    using Type = FakeMem::MemAccessType;
    const std::vector<FakeMem::Operation> log{{Type::R32, 4, {0x80}},
                                              {Type::R32, BANK_B, {expected[1]}},
                                              {Type::R32, BANK_B + 1, {0xFFFFFFFF}},
                                              {Type::W32, BANK_A, expected},
                                              {Type::W32, 4, {0}}};
    EXPECT_EQ(m_Mem.log, log);
}

TEST_F(ScmDriverTest, RefusalsComeBeforeTheFirstWrite)
{
    fill(512);
    const std::vector<uint32_t> before = m_Mem.words;
    const std::string invalid = "Invalid Argument Error: Invalid parameters.(";
    // A full LUT as well: the parameters are what the user hears of.
    for (const ScmPidLutEntry& entry :
         {ScmPidLutEntry{8191, 0, 0}, ScmPidLutEntry{8192, 0, 0}, ScmPidLutEntry{0, 8, 0}, ScmPidLutEntry{0, 0, 64}})
        EXPECT_THAT(failureOf<InvalidArgumentError>([&] { m_Scm.insert(entry); }), StartsWith(invalid));
    for (const uint32_t pid : {0U, 600U})
        EXPECT_THAT(failureOf<ZebDriverError>([&] {
                        m_Scm.insert({pid, 7, 1});
                    }),
                    StartsWith("Driver (user space) error: ZEB Driver (user space) error: SCM PID LUT is full - "
                               "cannot write new entry("));
    EXPECT_EQ(m_Mem.words, before);

    // Shifted or masked, these would be other entries; such rows are not there, which is no reason to refuse.
    for (const auto& [scmIdx, pid] : {std::pair(6U, 8192U), std::pair(8U + 7, 0U), std::pair(0x80000U + 7, 0U)}) {
        const std::vector<uint32_t> rows = activeBank();
        m_Scm.remove(scmIdx, pid);
        EXPECT_EQ(activeBank(), rows) << scmIdx << ' ' << pid;
    }
    m_Scm.remove(7, 511);
    m_Scm.insert({8190, 7, 63});
    EXPECT_EQ(activeBank()[511], 63U << 16 | 7U << 13 | 8190U);
}
