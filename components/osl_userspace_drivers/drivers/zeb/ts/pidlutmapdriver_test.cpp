#include <osl/testing/failing_block.h>
#include <osl/testing/failure_of.h>
#include <osl/userspace_drivers/drivers/drivererror.h>
#include <osl/userspace_drivers/drivers/zeb/ts/pidlutmapdriver.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>

using namespace Osl::Drivers::Zeb;
using Osl::Drivers::DevMemError;
using Osl::Drivers::MemAccessType;
using Osl::Testing::FailingBlock;
using Osl::Testing::failureOf;
using Osl::Testing::FakeMem;
using testing::ElementsAre;
using testing::StartsWith;

namespace {

using Operation = FakeMem::Operation;

constexpr uint32_t BLOCK_WORDS = 0x20000 / 4;
constexpr uint32_t CONTROL = 129;

PidLutImage imageOf(uint32_t rows, uint32_t pidIdx = 7)
{
    PidLutImage image;
    for (uint32_t i = 0; i < rows; ++i) {
        // Inserted from the top: the image, not the caller, brings the order.
        const uint32_t row = rows - 1 - i;
        image.emplace(std::pair(row / 100, row % 100), PidLutEntry(row / 100, row % 100, pidIdx, 255, true, false));
    }
    return image;
}

/// What a whole bank holds after an image was written.
std::vector<uint32_t> bankOf(const PidLutImage& image)
{
    std::vector<uint32_t> words;
    for (const auto& [key, entry] : image)
        words.insert(words.end(), entry.getWords().begin(), entry.getWords().end());
    while (words.size() < 4096)
        words.insert(words.end(), {0x001FFFFF, 0xFF000FFF});
    return words;
}

class PidLutMapDriverTest : public testing::Test
{
protected:
    std::shared_ptr<FakeMem> m_Mem = std::make_shared<FakeMem>(BLOCK_WORDS);
    PidLutMapDriver m_Driver{m_Mem};

    std::vector<uint32_t> block(uint32_t offset, uint32_t count) const
    {
        return {m_Mem->words.begin() + offset, m_Mem->words.begin() + offset + count};
    }
};

} // namespace

TEST_F(PidLutMapDriverTest, SaysWhatItIsAndRefusesNoMemory)
{
    EXPECT_EQ(m_Driver.getName(), "Ostrel ZEB Transport Stream PID LUT/MAP Top Level Driver");
    EXPECT_EQ(m_Driver.getDescription(),
              "Top level driver for the ZEB transport stream PID handling LUT/MAP FPGA implemented hardware.");
    EXPECT_EQ(m_Driver.getMaxPidIdx(), 4095U);
    EXPECT_EQ(m_Driver.getTsiCount(), 256U);
    EXPECT_EQ(m_Driver.getMaxFilterCount(), 254U);
    EXPECT_THAT(failureOf<ZebDriverError>([] { PidLutMapDriver driver(nullptr); }),
                StartsWith("Driver (user space) error: ZEB Driver (user space) error: Fatal error: invalid IMemIf "
                           "reference in constructor("));
}

TEST_F(PidLutMapDriverTest, FillsTheInactiveBankRowByRowInKeyOrderAndThenSwitches)
{
    m_Mem->words[CONTROL] = 0x00000003;
    PidLutImage image;
    image.emplace(std::pair(3, 0x100), PidLutEntry(3, 0x100, 7, 255, false, true));
    image.emplace(std::pair(2, 0x200), PidLutEntry(2, 0x200, 8, 1, true, false));
    m_Driver.writePidLut(image);

    std::vector<Operation> expected{{MemAccessType::R32, CONTROL, {3}},
                                    {MemAccessType::W32, 8192, {0x00004200, 0x01001008}},
                                    {MemAccessType::W32, 8194, {0x00006100, 0xFF002007}}};
    for (uint32_t row = 2; row < 2048; ++row)
        expected.push_back({MemAccessType::W32, 8192 + 2 * row, {0x001FFFFF, 0xFF000FFF}});
    expected.push_back({MemAccessType::R32, CONTROL, {3}});
    expected.push_back({MemAccessType::W32, CONTROL, {2}});
    EXPECT_EQ(m_Mem->log, expected);

    m_Mem->log.clear();
    m_Driver.writePidLut({});
    EXPECT_EQ(m_Mem->log.at(1), (Operation{MemAccessType::W32, 12288, {0x001FFFFF, 0xFF000FFF}}));
    EXPECT_EQ(m_Mem->log.back(), (Operation{MemAccessType::W32, CONTROL, {3}}));
}

TEST_F(PidLutMapDriverTest, AFullTableTakesNoStuffingAndOneMoreEntryIsRefused)
{
    m_Driver.writePidLut(imageOf(2048));
    EXPECT_EQ(block(12288, 4096), bankOf(imageOf(2048)));
    EXPECT_EQ(m_Mem->accesses, 1U + 2048U * 2U + 2U);

    m_Mem->log.clear();
    EXPECT_THAT(failureOf<ZebDriverError>([&] { m_Driver.writePidLut(imageOf(2049)); }),
                StartsWith("Driver (user space) error: ZEB Driver (user space) error: API error: Invalid length of "
                           "list containing PidLut entries. List is 2049 .ZEBTSIF FPGA supports a maximum of 2048.("));
    EXPECT_TRUE(m_Mem->log.empty());
}

TEST_F(PidLutMapDriverTest, SingleRowsAreWrittenInPlace)
{
    m_Driver.writePidMapEntry(PidMapEntry(4095, 2, 8, 0x20, true, true));
    m_Driver.writeTsiMapEntry(TsiMapEntry(255, 0x123, true));
    m_Driver.writeFilterTabEntry(FilterTabEntry(255, 9));
    EXPECT_THAT(m_Mem->log,
                ElementsAre(Operation{MemAccessType::W32, 24574, {0x00602002, 8}},
                            Operation{MemAccessType::W32, 511, {0x1123}}, Operation{MemAccessType::W32, 767, {9}}));
}

TEST_F(PidLutMapDriverTest, StatusWordsEndAt255)
{
    m_Mem->words[1024 + 255] = 1;
    m_Mem->words[1280 + 255] = 2;
    m_Mem->words[1536 + 255] = 3;
    EXPECT_EQ(m_Driver.readStatus1024(255), 1U);
    EXPECT_EQ(m_Driver.readStatus1280(255), 2U);
    EXPECT_EQ(m_Driver.readStatus1536(255), 3U);
    EXPECT_EQ(m_Mem->accesses, 3U);
    EXPECT_EQ(m_Driver.readStatus1024(256), 0U);
    EXPECT_EQ(m_Driver.readStatus1280(256), 0U);
    EXPECT_EQ(m_Driver.readStatus1536(0xFFFFFFFF), 0U);
    EXPECT_EQ(m_Mem->accesses, 3U);
}

TEST_F(PidLutMapDriverTest, ClearingWritesEveryRowOfOneTableAndNothingElse)
{
    struct Case
    {
        void (PidLutMapDriver::*clear)();
        uint32_t first, words;
        std::vector<uint32_t> row;
        std::size_t operations;
    };
    const Case cases[] = {
        {&PidLutMapDriver::clearPidMap, 16384 + 2, 2 * 4095, {0x001FFFFF, 0}, 4095},
        {&PidLutMapDriver::clearTsiMap, 256, 256, {0xFFF}, 256},
        {&PidLutMapDriver::clearFilterTab, 512, 256, {0}, 256},
        {&PidLutMapDriver::clearPidLut, 8192, 8192, {0x001FFFFF, 0xFF000FFF}, 2 * (1 + 2048 + 2)},
    };
    for (const Case& c : cases) {
        std::vector<uint32_t> expected(BLOCK_WORDS, 0x5A5A5A5A);
        m_Mem->words = expected;
        for (uint32_t i = 0; i < c.words; ++i)
            expected[c.first + i] = c.row[i % c.row.size()];
        m_Mem->log.clear();
        (m_Driver.*c.clear)();
        EXPECT_EQ(m_Mem->words, expected) << c.first;
        EXPECT_EQ(m_Mem->log.size(), c.operations) << c.first;
    }
}

TEST(PidLutMapDriverFailureTest, AtWhateverAccessTheDeviceFailsTheActiveBankIsWholeOldOrWholeNew)
{
    const PidLutImage before = imageOf(300);
    const PidLutImage after = imageOf(301, 9);
    const std::vector<uint32_t> oldBank = bankOf(before);
    const std::vector<uint32_t> newBank = bankOf(after);
    const std::vector<uint32_t> emptyBank = bankOf({});

    struct Case
    {
        std::function<void(PidLutMapDriver&)> run;
        std::size_t accesses, accessesUntilNew;
        const std::vector<uint32_t>& replacement;
    };
    const std::size_t write = 1 + 4096 + 2;
    const Case cases[] = {
        {[&](PidLutMapDriver& driver) { driver.writePidLut(after); }, write, write, newBank},
        {[](PidLutMapDriver& driver) { driver.clearPidLut(); }, 2 * write, write, emptyBank},
    };
    for (const Case& c : cases) {
        for (std::size_t n = 0; n <= c.accesses; ++n) {
            std::size_t accessesLeft = n;
            const auto mem = std::make_shared<FailingBlock>(TableBlock::PID, BLOCK_WORDS, accessesLeft);
            std::copy(oldBank.begin(), oldBank.end(), mem->words.begin() + 8192);
            PidLutMapDriver driver(mem);
            if (n < c.accesses)
                ASSERT_THROW(c.run(driver), DevMemError) << "access " << n;
            else
                ASSERT_NO_THROW(c.run(driver));
            ASSERT_EQ(mem->pidLut(), n < c.accessesUntilNew ? oldBank : c.replacement) << "access " << n;
        }
    }
}
