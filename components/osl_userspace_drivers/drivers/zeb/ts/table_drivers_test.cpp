#include <osl/testing/fake_mem.h>
#include <osl/testing/test.h>
#include <osl/userspace_drivers/drivers/drivererror.h>
#include <osl/userspace_drivers/drivers/zeb/ts/pidlutmapdriver.h>
#include <osl/userspace_drivers/drivers/zeb/ts/tablelayout.h>
#include <osl/userspace_drivers/drivers/zeb/ts/tsiodriver.h>

#include <fmt/format.h>

#include <algorithm>
#include <functional>

using namespace Osl::Drivers::Zeb;

namespace {

using Words = std::vector<uint32_t>;

const std::string DRIVER_ERROR = "Driver (user space) error: ZEB Driver (user space) error: ";

PidLutEntries pidLut(uint32_t rows)
{
    PidLutEntries entries;
    for (uint32_t row = 0; row < rows; ++row)
        entries.try_emplace({row / 100, row % 100}, row / 100, row % 100, 7, 255, true, false);
    return entries;
}

std::list<IpInEntry> ipLut(uint32_t rows)
{
    std::list<IpInEntry> entries;
    for (uint32_t row = 0; row < rows; ++row)
        entries.emplace_back(row % 256, fmt::format("239.0.{}.{}", row / 256, row % 256), 5000);
    return entries;
}

class TableDriversTest : public testing::Test
{
protected:
    std::shared_ptr<FakeMem> m_PidMem = std::make_shared<FakeMem>(0x20000 / 4);
    std::shared_ptr<FakeMem> m_IoMem = std::make_shared<FakeMem>(0x4000 / 4);
    PidLutMapDriver m_Pid{m_PidMem};
    TsIoDriver m_Io{m_IoMem};

    std::string refusalOf(const std::function<void()>& step)
    {
        m_PidMem->log.clear();
        m_IoMem->log.clear();
        std::string text = failureOf<ZebDriverError>(step);
        EXPECT_TRUE(m_PidMem->log.empty() && m_IoMem->log.empty()) << text;
        return text;
    }
};

} // namespace

TEST_F(TableDriversTest, SayTheirSizesAndRefuseNoMemory)
{
    EXPECT_THAT((std::array{m_Pid.getMaxPidIdx(), m_Pid.getTsiCount(), m_Pid.getMaxFilterCount()}),
                ElementsAre(4095, 256, 254));
    EXPECT_THAT((std::array{m_Io.getMaxPidIdx(), m_Io.getTsiCount(), m_Io.getMaxFilterCount()}),
                ElementsAre(256, 256, 0xFFFFFFFF));
    for (void (*make)() : {+[] { PidLutMapDriver driver(nullptr); }, +[] { TsIoDriver driver(nullptr); }})
        EXPECT_THAT(failureOf<ZebDriverError>(make),
                    StartsWith(DRIVER_ERROR + "Fatal error: invalid IMemIf reference in constructor("));
}

TEST_F(TableDriversTest, FullTablesTakeNoStuffingAndFurtherOrUnsortedEntriesAreRefusedBeforeAnyAccess)
{
    m_PidMem->words[PID_LUT.bankWord] = 0x80000002;
    m_IoMem->words[IP_LUT.bankWord] = 0x80000003;
    m_Pid.writePidLut(pidLut(2048));
    EXPECT_THAT((Words{m_PidMem->words[12288], m_PidMem->words[12289], m_PidMem->words[12288 + 2 * 2047]}),
                ElementsAre(0, 0xFF001007, 20 << 13 | 47));
    m_Io.writeIpInLut(ipLut(256));
    EXPECT_THAT((Words{m_IoMem->words[2048 + 2 * 255], m_IoMem->words[2049 + 2 * 255]}),
                ElementsAre(0xEF0000FF, 0x01FF1388));
    EXPECT_EQ(m_PidMem->words[PID_LUT.bankWord], 0x80000003);
    EXPECT_EQ(m_IoMem->words[IP_LUT.bankWord], 0x80000002);
    EXPECT_EQ(m_PidMem->log.size(), 2048 + 3U);
    EXPECT_EQ(m_IoMem->log.size(), 256 + 3U);

    const std::string length = DRIVER_ERROR + "API error: Invalid length of list containing ";
    EXPECT_THAT(refusalOf([&] { m_Pid.writePidLut(pidLut(2049)); }),
                StartsWith(length + "PidLut entries. List is 2049 .ZEBTSIF FPGA supports a maximum of 2048.("));
    EXPECT_THAT(refusalOf([&] { m_Io.writeIpInLut(ipLut(257)); }),
                StartsWith(length + "IpLutIn entries. List is 257 .ZEBTSIF FPGA supports a maximum of 256.("));
    for (const std::list<IpInEntry>& unsorted : {std::list<IpInEntry>{{1, "239.0.0.2", 100}, {2, "239.0.0.1", 200}},
                                                 std::list<IpInEntry>{{1, "239.0.0.1", 200}, {2, "239.0.0.1", 100}}})
        EXPECT_THAT(refusalOf([&] { m_Io.writeIpInLut(unsorted); }),
                    StartsWith(DRIVER_ERROR + "API error: An unsorted list was supplied to \"writeIpInLut\" handle.("));
    EXPECT_NO_THROW(m_Io.writeIpInLut({{1, "239.0.0.1", 100}, {2, "239.0.0.1", 100}}));
}

TEST_F(TableDriversTest, StatusWordsEndAt255)
{
    const std::pair<uint32_t, uint32_t (PidLutMapDriver::*)(uint32_t)> cases[] = {
        {1024, &PidLutMapDriver::readStatus1024},
        {1280, &PidLutMapDriver::readStatus1280},
        {1536, &PidLutMapDriver::readStatus1536}};
    for (const auto& [base, read] : cases) {
        m_PidMem->words[base + 255] = base;
        EXPECT_EQ((m_Pid.*read)(255), base);
        EXPECT_EQ((m_Pid.*read)(256), 0U);
        EXPECT_EQ((m_Pid.*read)(0xFFFFFFFF), 0U);
    }
    EXPECT_EQ(m_PidMem->accesses, 3U);
}

TEST_F(TableDriversTest, ClearingWritesEveryRowOfOneTableAndNothingElse)
{
    struct Case
    {
        std::function<void()> clear;
        FakeMem& memory;
        const TableLayout& table;
        uint32_t times = 1;
    };
    const Case cases[] = {
        {[&] { m_Pid.clearPidMap(); }, *m_PidMem, O_PID_MAP},
        {[&] { m_Pid.clearTsiMap(); }, *m_PidMem, TSI_MAP},
        {[&] { m_Pid.clearFilterTab(); }, *m_PidMem, FILTER_TABLE},
        {[&] { m_Pid.clearPidLut(); }, *m_PidMem, PID_LUT, 2},
        {[&] { m_Io.clearPhysInMap(); }, *m_IoMem, PHYS_IN_MAP},
        {[&] { m_Io.clearPhysOutMap(); }, *m_IoMem, PHYS_OUT_MAP},
        {[&] { m_Io.clearIpOutMap(); }, *m_IoMem, IP_OUT_MAP},
        {[&] { m_Io.clearIpInLut(false); }, *m_IoMem, IP_LUT},
        {[&] { m_Io.clearIpInLut(true); }, *m_IoMem, IP_LUT, 2},
    };
    for (const Case& c : cases) {
        const TableLayout& table = c.table;
        const Words unused = FieldEntry(table).getWords();
        Words expected(c.memory.words.size(), 0x5A5A5A5A);
        c.memory.words = expected;
        if (c.times == 1 && table.hasBanks())
            expected[table.bankWord] ^= 1;
        for (const uint32_t base : table.activeBase)
            for (uint32_t row = table.firstRow; row < table.rows; ++row)
                std::copy(unused.begin(), unused.end(), expected.data() + base + std::size_t{row} * table.wordsPerRow);
        c.memory.log.clear();
        c.clear();
        EXPECT_EQ(c.memory.words, expected) << table.name;
        // Control word read, rows, control word read and written.
        EXPECT_EQ(c.memory.log.size(), c.times * (table.rows - table.firstRow + (table.hasBanks() ? 3U : 0U)))
            << table.name;
    }
}
