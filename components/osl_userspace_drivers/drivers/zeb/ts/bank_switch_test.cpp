// Whatever breaks off an operation that replaces a table with two banks, the FPGA goes on with the whole old or the
// whole new table.

#include <osl/testing/failing_block.h>
#include <osl/testing/test.h>
#include <osl/userspace_drivers/drivers/zeb/scm/scmdriver.h>
#include <osl/userspace_drivers/drivers/zeb/ts/diag/fpga_diag.h>
#include <osl/userspace_drivers/drivers/zeb/ts/pidlutmapdriver.h>
#include <osl/userspace_drivers/drivers/zeb/ts/tsiodriver.h>

#include <algorithm>
#include <functional>
#include <random>

using namespace Osl::Drivers::Zeb;
using Osl::Drivers::IMemIf;

namespace {

std::shared_ptr<IMemIf> borrowed(IMemIf& memory) { return {std::shared_ptr<void>(), &memory}; }

/// All words of the tables and of the banks random; three entries in the scrambler's bank in use.
void fill(FailingBoard& board)
{
    std::mt19937 random(1);
    for (std::vector<uint32_t>* words :
         {&board.pid.words, &board.io.words, &board.io.ipLutBanks[0], &board.io.ipLutBanks[1], &board.scm.words})
        std::generate(words->begin(), words->end(), std::ref(random));
    board.scm.words[4] = 0x80;
    std::copy_n(std::array{7U << 13, 7U << 13 | 1, 7U << 13 | 2, 0xFFFFFFFFU}.begin(), 4,
                board.scm.words.begin() + 1536);
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

void import(FailingBoard& board)
{
    static const std::vector<uint8_t> image = [] {
        FailingBoard source;
        return toBytes(exportTables(source.pid, source.io));
    }();
    importTables(board.pid, board.io, image);
}

constexpr std::size_t PID_LUT_SWITCH = 1 + 4096 + 2; // control word read, rows, control word read and written

struct BankedWrite
{
    const char* name;
    void (*run)(FailingBoard&);
    std::size_t accesses;
    std::size_t stride = 1; ///< from one access that is made to fail to the next, but at switches, where each is
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
        board.scm.words = before.scm.words;
        board.accessesLeft = access;
        run(board);
    };
    const auto inUse = [](FailingBoard& of) {
        return std::array{of.pid.inUse(PID_LUT), of.io.ipLut(), of.scm.inUse(SCM_PID_LUT)};
    };
    ASSERT_NO_THROW(runUpTo(accesses));
    const auto oldTables = inUse(before);
    const auto newTables = inUse(board);
    ASSERT_NE(oldTables, newTables);
    for (std::size_t access = 0; access < accesses; ++access) {
        const std::size_t inSwitch = access % PID_LUT_SWITCH;
        if (inSwitch > 4 && inSwitch < PID_LUT_SWITCH - 4 && access % GetParam().stride != 0)
            continue;
        ASSERT_THROW(runUpTo(access), Osl::Drivers::DevMemError) << "access " << access;
        const auto tables = inUse(board);
        for (std::size_t i = 0; i < tables.size(); ++i)
            ASSERT_TRUE(tables.at(i) == oldTables.at(i) || tables.at(i) == newTables.at(i)) << "access " << access;
    }
}

constexpr std::size_t IP_LUT_SWITCH = 1 + 512 + 2;
constexpr std::size_t SCM_EDIT =
    1 + 4 + 512 + 1; // control word, entries and the row that ends them, rows, control word
INSTANTIATE_TEST_SUITE_P(
    All, BankSwitchTest,
    testing::Values(
        BankedWrite{"writePidLut", &writePidLut, PID_LUT_SWITCH, 37},
        BankedWrite{"clearPidLut", [](FailingBoard& board) { PidLutMapDriver(borrowed(board.pid)).clearPidLut(); },
                    2 * PID_LUT_SWITCH, 37},
        BankedWrite{"writeIpInLut",
                    [](FailingBoard& board) {
                        TsIoDriver(borrowed(board.io)).writeIpInLut({{1, "239.0.0.1", 5000}, {2, "239.0.0.2", 5000}});
                    },
                    IP_LUT_SWITCH},
        BankedWrite{"clearIpInLut", [](FailingBoard& board) { TsIoDriver(borrowed(board.io)).clearIpInLut(true); },
                    2 * IP_LUT_SWITCH},
        BankedWrite{"import", &import, 64 + IP_LUT_SWITCH + 256 + PID_LUT_SWITCH + 8192 + 256 + 1024, 11},
        BankedWrite{"insertInScrambler",
                    [](FailingBoard& board) {
                        ScmDriver(board.scm).insert({5, 0, 1});
                    },
                    SCM_EDIT},
        BankedWrite{"replaceInScrambler",
                    [](FailingBoard& board) {
                        ScmDriver(board.scm).insert({1, 7, 9});
                    },
                    SCM_EDIT},
        BankedWrite{"removeFromScrambler", [](FailingBoard& board) { ScmDriver(board.scm).remove(7, 1); }, SCM_EDIT},
        BankedWrite{"clearScrambler", [](FailingBoard& board) { ScmDriver(board.scm).clear(); }, 1 + 2 * (512 + 1)}),
    [](const auto& test) { return test.param.name; });
