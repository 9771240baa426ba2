#include <osl/testing/fake_mem.h>
#include <osl/testing/test.h>
#include <osl/userspace_drivers/drivers/zeb/scm/scmdriver.h>

using namespace Osl::Drivers::Zeb;

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
    ASSERT_EQ(m_Mem.log.size(), 5U);
    EXPECT_EQ(m_Mem.log.back(), (FakeMem::Operation{FakeMem::MemAccessType::W32, 4, {0}}));
}

// Shifted or masked, these would be other entries; such rows are not there, which is no reason to refuse.
TEST_F(ScmDriverTest, RemovingWhatNoRowCanHoldRemovesNothing)
{
    std::fill_n(m_Mem.words.begin() + BANK_A, ROWS, 7U << 13); // scrambler 7, PID 0
    for (uint32_t pid = 0; pid < ROWS; ++pid)
        m_Mem.words[BANK_A + pid] |= pid;
    const std::vector<uint32_t> rows = bank(BANK_A);
    for (const auto& [scmIdx, pid] : {std::pair(6U, 8192U), std::pair(8U + 7, 0U), std::pair(0x80000U + 7, 0U)}) {
        m_Scm.remove(scmIdx, pid);
        EXPECT_EQ(bank(m_Mem.words[4] != 0 ? BANK_B : BANK_A), rows) << scmIdx << ' ' << pid;
    }
}
