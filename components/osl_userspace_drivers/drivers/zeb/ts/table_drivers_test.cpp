#include <osl/testing/failure_of.h>
#include <osl/testing/fake_mem.h>
#include <osl/userspace_drivers/drivers/drivererror.h>
#include <osl/userspace_drivers/drivers/zeb/ts/pidlutmapdriver.h>
#include <osl/userspace_drivers/drivers/zeb/ts/tsiodriver.h>

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>

using namespace Osl::Drivers::Zeb;
using Osl::CppUtil::IpAdrContainer;
using Osl::CppUtil::MacAdrContainer;
using Osl::Drivers::MemAccessType;
using Osl::Testing::failureOf;
using Osl::Testing::FakeMem;
using testing::ElementsAre;
using testing::StartsWith;

namespace {

using Operation = FakeMem::Operation;
using Words = std::vector<uint32_t>;

constexpr uint32_t PID_CONTROL = 129;
constexpr uint32_t IO_CONTROL = 0;
const Words PID_STUFFING{0x001FFFFF, 0xFF000FFF};
const Words IP_STUFFING{0, 0x00FFFFFF};
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

/// Every operation on a bank: the given rows, then stuffing, then the switch.
std::vector<Operation> bankWrite(uint32_t control, uint32_t word, uint32_t bank, uint32_t rows, std::vector<Words> used,
                                 const Words& stuffing)
{
    used.resize(rows, stuffing);
    std::vector<Operation> log{{MemAccessType::R32, control, {word}}};
    for (const Words& row : used) {
        log.push_back({MemAccessType::W32, bank, row});
        bank += 2;
    }
    log.push_back({MemAccessType::R32, control, {word}});
    log.push_back({MemAccessType::W32, control, {word ^ 1}});
    return log;
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

TEST_F(TableDriversTest, SayWhatTheyAreAndRefuseNoMemory)
{
    EXPECT_EQ(m_Pid.getName(), "Ostrel ZEB Transport Stream PID LUT/MAP Top Level Driver");
    EXPECT_EQ(m_Pid.getDescription(),
              "Top level driver for the ZEB transport stream PID handling LUT/MAP FPGA implemented hardware.");
    EXPECT_THAT((std::array{m_Pid.getMaxPidIdx(), m_Pid.getTsiCount(), m_Pid.getMaxFilterCount()}),
                ElementsAre(4095, 256, 254));
    EXPECT_EQ(m_Io.getName(), "Ostrel ZEB Transport Stream IO LUT/MAP Top Level Driver");
    EXPECT_EQ(m_Io.getDescription(),
              "Top level driver for the ZEB transport stream input/output LUT/MAP FPGA implemented hardware.");
    EXPECT_THAT((std::array{m_Io.getMaxPidIdx(), m_Io.getTsiCount(), m_Io.getMaxFilterCount()}),
                ElementsAre(256, 256, 0xFFFFFFFF));
    for (void (*make)() : {+[] { PidLutMapDriver driver(nullptr); }, +[] { TsIoDriver driver(nullptr); }})
        EXPECT_THAT(failureOf<ZebDriverError>(make),
                    StartsWith(DRIVER_ERROR + "Fatal error: invalid IMemIf reference in constructor("));
}

TEST_F(TableDriversTest, BanksAreFilledRowByRowInOrderAndThenSwitched)
{
    for (const uint32_t control : {0x80000002U, 0x80000003U}) {
        m_PidMem->words[PID_CONTROL] = m_IoMem->words[IO_CONTROL] = control;
        m_PidMem->log.clear();
        m_IoMem->log.clear();
        m_Pid.writePidLut({{{3, 0x100}, PidLutEntry(3, 0x100, 7, 255, false, true)},
                           {{2, 0x200}, PidLutEntry(2, 0x200, 8, 1, true, false)}});
        EXPECT_EQ(m_PidMem->log, bankWrite(PID_CONTROL, control, control % 2 == 0 ? 12288 : 8192, 2048,
                                           {{0x00004200, 0x01001008}, {0x00006100, 0xFF002007}}, PID_STUFFING));
        m_Io.writeIpInLut({IpInEntry(2, "239.0.0.1", 200), IpInEntry(1, "239.0.0.2", 100)});
        EXPECT_EQ(m_IoMem->log, bankWrite(IO_CONTROL, control, 2048, 256,
                                          {{0xEF000001, 0x010200C8}, {0xEF000002, 0x01010064}}, IP_STUFFING));
    }
}

TEST_F(TableDriversTest, FullTablesTakeNoStuffingAndFurtherOrUnsortedEntriesAreRefusedBeforeAnyAccess)
{
    m_Pid.writePidLut(pidLut(2048));
    EXPECT_THAT((Words{m_PidMem->words[12288], m_PidMem->words[12288 + 2 * 2047]}), ElementsAre(0, 20 << 13 | 47));
    m_Io.writeIpInLut(ipLut(256));
    EXPECT_EQ(m_IoMem->words[2048 + 2 * 255], 0xEF0000FFU);

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

TEST_F(TableDriversTest, SingleRowsAreWrittenInPlace)
{
    m_Pid.writePidMapEntry(PidMapEntry(4095, 2, 8, 0x20, true, true));
    m_Pid.writeTsiMapEntry(TsiMapEntry(255, 0x123, true));
    m_Pid.writeFilterTabEntry(FilterTabEntry(255, 9));
    EXPECT_THAT(m_PidMem->log,
                ElementsAre(Operation{MemAccessType::W32, 24574, {0x00602002, 8}},
                            Operation{MemAccessType::W32, 511, {0x1123}}, Operation{MemAccessType::W32, 767, {9}}));
    m_Io.writePhysInEntry(PhysInEntry(63, 5));
    m_Io.writePhysOutEntry(PhysOutEntry(255, 31, true));
    m_Io.writeIpOutEntry(IpOutEntry(255, MacAdrContainer(std::string("01:00:5E:12:34:56")), IpAdrContainer(0xEFC0002A),
                                    5000, true, true));
    EXPECT_THAT(m_IoMem->log,
                ElementsAre(Operation{MemAccessType::W32, 191, {5}}, Operation{MemAccessType::W32, 511, {0x11F}},
                            Operation{MemAccessType::W32, 2044, {0x0100, 0x5E123456, 0xEFC0002A, 0x00031388}}));
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
        uint32_t first, rows;
        Words row;
        std::size_t operations;
        bool isSwitched = false;
    };
    // Control word read, rows, control word read and written.
    constexpr std::size_t PID_LUT_OPERATIONS = 1 + 2048 + 2;
    constexpr std::size_t IP_LUT_OPERATIONS = 1 + 256 + 2;
    const Case cases[] = {
        {[&] { m_Pid.clearPidMap(); }, *m_PidMem, 16384 + 2, 4095, {0x001FFFFF, 0}, 4095},
        {[&] { m_Pid.clearTsiMap(); }, *m_PidMem, 256, 256, {0xFFF}, 256},
        {[&] { m_Pid.clearFilterTab(); }, *m_PidMem, 512, 256, {0}, 256},
        {[&] { m_Pid.clearPidLut(); }, *m_PidMem, 8192, 2 * 2048, PID_STUFFING, 2 * PID_LUT_OPERATIONS},
        {[&] { m_Io.clearPhysInMap(); }, *m_IoMem, 128, 64, {0xFF}, 64},
        {[&] { m_Io.clearPhysOutMap(); }, *m_IoMem, 256, 256, {0xFF}, 256},
        {[&] { m_Io.clearIpOutMap(); }, *m_IoMem, 1024, 256, {0, 0, 0, 0xFFFF}, 256},
        {[&] { m_Io.clearIpInLut(false); }, *m_IoMem, 2048, 256, IP_STUFFING, IP_LUT_OPERATIONS, true},
        {[&] { m_Io.clearIpInLut(true); }, *m_IoMem, 2048, 256, IP_STUFFING, 2 * IP_LUT_OPERATIONS},
    };
    for (const Case& c : cases) {
        Words expected(c.memory.words.size(), 0x5A5A5A5A);
        c.memory.words = expected;
        if (c.isSwitched)
            expected[IO_CONTROL] ^= 1;
        for (uint32_t i = 0; i < c.rows * c.row.size(); ++i)
            expected[c.first + i] = c.row[i % c.row.size()];
        c.memory.log.clear();
        c.clear();
        EXPECT_EQ(c.memory.words, expected) << c.first;
        EXPECT_EQ(c.memory.log.size(), c.operations) << c.first;
    }
}
