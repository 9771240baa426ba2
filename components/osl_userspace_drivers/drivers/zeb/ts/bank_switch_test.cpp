// Whatever breaks off an operation that replaces a table with two banks, the FPGA goes on with the whole old or the
// whole new table.

#include <osl/testing/failing_block.h>
#include <osl/userspace_drivers/drivers/zeb/ts/diag/fpga_diag.h>
#include <osl/userspace_drivers/drivers/zeb/ts/pidlutmapdriver.h>
#include <osl/userspace_drivers/drivers/zeb/ts/tsiodriver.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <random>

using namespace Osl::Drivers::Zeb;
using Osl::Drivers::IMemIf;
using Osl::Testing::FailingBoard;

namespace {

std::shared_ptr<IMemIf> borrowed(IMemIf& memory) { return {std::shared_ptr<void>(), &memory}; }

/// All words of the tables and of the banks random.
void fill(FailingBoard& board)
{
    std::mt19937 random(1);
    for (std::vector<uint32_t>* words :
         {&board.pid.words, &board.io.words, &board.io.ipLutBanks[0], &board.io.ipLutBanks[1]})
        std::generate(words->begin(), words->end(), std::ref(random));
}

void writePidLut(FailingBoard& board)
{
    static const PidLutEntries rows = [] {
        PidLutEntries entries;
        for (uint32_t row = 0; row < 1500; ++row)
            entries.try_emplace({row / 100, row % 100}, row / 100, row % 100, 7, 255, true, false);
        return entries;
    }();
    PidLutMapDriver(borrowed(board.pid)).writePidLut(rows);
}

void clearPidLut(FailingBoard& board) { PidLutMapDriver(borrowed(board.pid)).clearPidLut(); }

void writeIpInLut(FailingBoard& board)
{
    static const std::list<IpInEntry> rows{{1, "239.0.0.1", 5000}, {2, "239.0.0.2", 5000}};
    TsIoDriver(borrowed(board.io)).writeIpInLut(rows);
}

void clearIpInLut(FailingBoard& board) { TsIoDriver(borrowed(board.io)).clearIpInLut(true); }

void import(FailingBoard& board)
{
    static const std::vector<uint8_t> image = [] {
        FailingBoard source;
        return toBytes(exportTables(source.pid, source.io));
    }();
    importTables(board.pid, board.io, image);
}

struct BankedWrite
{
    void (*run)(FailingBoard&);
    std::size_t accesses; ///< of which each is tried as the one that fails
};

class BankSwitchTest : public testing::TestWithParam<BankedWrite>
{
};

} // namespace

TEST_P(BankSwitchTest, AtWhateverAccessTheDeviceFailsTheActiveTablesAreWhole)
{
    const auto run = GetParam().run;
    const std::size_t accesses = GetParam().accesses;
    FailingBoard before;
    fill(before);
    FailingBoard board;
    const auto runUpTo = [&](std::size_t access) {
        board.pid.words = before.pid.words;
        board.io.words = before.io.words;
        board.io.ipLutBanks = before.io.ipLutBanks;
        board.accessesLeft = access;
        run(board);
    };
    ASSERT_NO_THROW(runUpTo(accesses));
    const std::vector<uint32_t> newPidLut = board.pid.pidLut();
    const std::vector<uint32_t> newIpLut = board.io.ipLut();
    ASSERT_TRUE(newPidLut != before.pid.pidLut() || newIpLut != before.io.ipLut());
    for (std::size_t access = 0; access < accesses; ++access) {
        ASSERT_THROW(runUpTo(access), Osl::Drivers::DevMemError) << "access " << access;
        const std::vector<uint32_t> pidLut = board.pid.pidLut();
        ASSERT_TRUE(pidLut == before.pid.pidLut() || pidLut == newPidLut) << "access " << access;
        const std::vector<uint32_t>& ipLut = board.io.ipLut();
        ASSERT_TRUE(ipLut == before.io.ipLut() || ipLut == newIpLut) << "access " << access;
    }
}

constexpr std::size_t PID_LUT_SWITCH = 1 + 4096 + 2; // control word read, rows, control word read and written
constexpr std::size_t IP_LUT_SWITCH = 1 + 512 + 2;
INSTANTIATE_TEST_SUITE_P(
    All, BankSwitchTest,
    testing::Values(BankedWrite{&writePidLut, PID_LUT_SWITCH}, BankedWrite{&clearPidLut, 2 * PID_LUT_SWITCH},
                    BankedWrite{&writeIpInLut, IP_LUT_SWITCH}, BankedWrite{&clearIpInLut, 2 * IP_LUT_SWITCH},
                    BankedWrite{&import, 64 + IP_LUT_SWITCH + 256 + PID_LUT_SWITCH + 8192 + 256 + 1024}));
