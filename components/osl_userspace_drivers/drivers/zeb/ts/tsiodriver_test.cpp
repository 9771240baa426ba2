#include <osl/testing/failing_block.h>
#include <osl/testing/failure_of.h>
#include <osl/userspace_drivers/drivers/drivererror.h>
#include <osl/userspace_drivers/drivers/zeb/ts/tsiodriver.h>

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>

using namespace Osl::Drivers::Zeb;
using Osl::CppUtil::IpAdrContainer;
using Osl::CppUtil::MacAdrContainer;
using Osl::Drivers::DevMemError;
using Osl::Drivers::MemAccessType;
using Osl::Testing::FailingBlock;
using Osl::Testing::failureOf;
using Osl::Testing::FakeMem;
using testing::ElementsAre;
using testing::StartsWith;

namespace {

using Operation = FakeMem::Operation;

constexpr uint32_t BLOCK_WORDS = 0x4000 / 4;
constexpr uint32_t CONTROL = 0;

std::list<IpInEntry> listOf(uint32_t rows, uint32_t port = 5000)
{
    std::list<IpInEntry> entries;
    for (uint32_t i = 0; i < rows; ++i)
        entries.emplace_back(i % 256, fmt::format("239.0.{}.{}", i / 256, i % 256), port);
    return entries;
}

std::vector<uint32_t> bankOf(const std::list<IpInEntry>& entries)
{
    std::vector<uint32_t> words;
    for (const IpInEntry& entry : entries)
        words.insert(words.end(), entry.getWords().begin(), entry.getWords().end());
    while (words.size() < 512)
        words.insert(words.end(), {0, 0x00FFFFFF});
    return words;
}

class TsIoDriverTest : public testing::Test
{
protected:
    std::shared_ptr<FakeMem> m_Mem = std::make_shared<FakeMem>(BLOCK_WORDS);
    TsIoDriver m_Driver{m_Mem};

    std::string refusalOf(const std::list<IpInEntry>& entries)
    {
        return failureOf<ZebDriverError>([&] { m_Driver.writeIpInLut(entries); });
    }
};

} // namespace

TEST_F(TsIoDriverTest, SaysWhatItIsAndRefusesNoMemory)
{
    EXPECT_EQ(m_Driver.getName(), "Ostrel ZEB Transport Stream IO LUT/MAP Top Level Driver");
    EXPECT_EQ(m_Driver.getDescription(),
              "Top level driver for the ZEB transport stream input/output LUT/MAP FPGA implemented hardware.");
    EXPECT_EQ(m_Driver.getMaxPidIdx(), 256U);
    EXPECT_EQ(m_Driver.getTsiCount(), 256U);
    EXPECT_EQ(m_Driver.getMaxFilterCount(), 0xFFFFFFFFU);
    EXPECT_THAT(failureOf<ZebDriverError>([] { TsIoDriver driver(nullptr); }),
                StartsWith("Driver (user space) error: ZEB Driver (user space) error: Fatal error: invalid IMemIf "
                           "reference in constructor("));
}

TEST_F(TsIoDriverTest, WritesTheIpLutAtItsOneAddressAndThenSwitches)
{
    for (const uint32_t control : {0x80000000U, 0x80000001U}) {
        m_Mem->words[CONTROL] = control;
        m_Mem->log.clear();
        m_Driver.writeIpInLut({IpInEntry(2, "239.0.0.1", 200), IpInEntry(1, "239.0.0.2", 100)});
        std::vector<Operation> expected{{MemAccessType::R32, CONTROL, {control}},
                                        {MemAccessType::W32, 2048, {0xEF000001, 0x010200C8}},
                                        {MemAccessType::W32, 2050, {0xEF000002, 0x01010064}}};
        for (uint32_t row = 2; row < 256; ++row)
            expected.push_back({MemAccessType::W32, 2048 + 2 * row, {0, 0x00FFFFFF}});
        expected.push_back({MemAccessType::R32, CONTROL, {control}});
        expected.push_back({MemAccessType::W32, CONTROL, {control ^ 1}});
        EXPECT_EQ(m_Mem->log, expected);
    }
}

TEST_F(TsIoDriverTest, RefusesTooManyAndUnsortedEntriesBeforeAnyAccess)
{
    const std::string prefix = "Driver (user space) error: ZEB Driver (user space) error: API error: ";
    EXPECT_THAT(refusalOf(listOf(257)),
                StartsWith(prefix + "Invalid length of list containing IpLutIn entries. List is 257 .ZEBTSIF FPGA "
                                    "supports a maximum of 256.("));
    const std::string unsorted = prefix + "An unsorted list was supplied to \"writeIpInLut\" handle.(";
    EXPECT_THAT(refusalOf({IpInEntry(1, "239.0.0.2", 100), IpInEntry(2, "239.0.0.1", 200)}), StartsWith(unsorted));
    EXPECT_THAT(refusalOf({IpInEntry(1, "239.0.0.1", 200), IpInEntry(2, "239.0.0.1", 100)}), StartsWith(unsorted));
    EXPECT_TRUE(m_Mem->log.empty());

    EXPECT_NO_THROW(m_Driver.writeIpInLut({IpInEntry(1, "239.0.0.1", 100), IpInEntry(2, "239.0.0.1", 100)}));
    EXPECT_NO_THROW(m_Driver.writeIpInLut(listOf(256)));
    EXPECT_EQ(std::vector<uint32_t>(m_Mem->words.begin() + 2048, m_Mem->words.begin() + 2560), bankOf(listOf(256)));
}

TEST_F(TsIoDriverTest, SingleRowsAreWrittenInPlace)
{
    m_Driver.writePhysInEntry(PhysInEntry(63, 5));
    m_Driver.writePhysOutEntry(PhysOutEntry(255, 31, true));
    m_Driver.writeIpOutEntry(IpOutEntry(255, MacAdrContainer(std::string("01:00:5E:12:34:56")),
                                        IpAdrContainer(0xEFC0002A), 5000, true, true));
    EXPECT_THAT(m_Mem->log,
                ElementsAre(Operation{MemAccessType::W32, 191, {5}}, Operation{MemAccessType::W32, 511, {0x11F}},
                            Operation{MemAccessType::W32, 2044, {0x0100, 0x5E123456, 0xEFC0002A, 0x00031388}}));
}

TEST_F(TsIoDriverTest, ClearingWritesEveryRowOfOneTableAndNothingElse)
{
    struct Case
    {
        std::function<void(TsIoDriver&)> clear;
        uint32_t first, words;
        std::vector<uint32_t> row;
        std::size_t operations;
        uint32_t control;
    };
    const Case cases[] = {
        {&TsIoDriver::clearPhysInMap, 128, 64, {0xFF}, 64, 0},
        {&TsIoDriver::clearPhysOutMap, 256, 256, {0xFF}, 256, 0},
        {&TsIoDriver::clearIpOutMap, 1024, 1024, {0, 0, 0, 0xFFFF}, 256, 0},
        {[](TsIoDriver& driver) { driver.clearIpInLut(false); }, 2048, 512, {0, 0x00FFFFFF}, 1 + 256 + 2, 1},
        {[](TsIoDriver& driver) { driver.clearIpInLut(true); }, 2048, 512, {0, 0x00FFFFFF}, 2 * (1 + 256 + 2), 0},
    };
    for (const Case& c : cases) {
        std::vector<uint32_t> expected(BLOCK_WORDS, 0x5A5A5A5A);
        m_Mem->words = expected;
        expected[CONTROL] ^= c.control;
        for (uint32_t i = 0; i < c.words; ++i)
            expected[c.first + i] = c.row[i % c.row.size()];
        m_Mem->log.clear();
        c.clear(m_Driver);
        EXPECT_EQ(m_Mem->words, expected) << c.first;
        EXPECT_EQ(m_Mem->log.size(), c.operations) << c.first;
    }
}

TEST(TsIoDriverFailureTest, AtWhateverAccessTheDeviceFailsTheActiveIpLutIsWholeOldOrWholeNew)
{
    const std::vector<uint32_t> oldBank = bankOf(listOf(100));
    const std::vector<uint32_t> newBank = bankOf(listOf(101, 6000));
    const std::vector<uint32_t> emptyBank = bankOf({});
    struct Case
    {
        std::function<void(TsIoDriver&)> run;
        std::size_t accesses, accessesUntilNew;
        const std::vector<uint32_t>& replacement;
    };
    const std::size_t write = 1 + 512 + 2;
    const Case cases[] = {
        {[](TsIoDriver& driver) { driver.writeIpInLut(listOf(101, 6000)); }, write, write, newBank},
        {[](TsIoDriver& driver) { driver.clearIpInLut(true); }, 2 * write, write, emptyBank},
    };
    for (const Case& c : cases) {
        for (std::size_t n = 0; n <= c.accesses; ++n) {
            std::size_t accessesLeft = n;
            const auto mem = std::make_shared<FailingBlock>(TableBlock::IO, BLOCK_WORDS, accessesLeft);
            mem->ipLut() = oldBank;
            TsIoDriver driver(mem);
            if (n < c.accesses)
                ASSERT_THROW(c.run(driver), DevMemError) << "access " << n;
            else
                ASSERT_NO_THROW(c.run(driver));
            ASSERT_EQ(mem->ipLut(), n < c.accessesUntilNew ? oldBank : c.replacement) << "access " << n;
        }
    }
}
