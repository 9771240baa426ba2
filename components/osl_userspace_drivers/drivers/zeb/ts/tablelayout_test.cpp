#include <osl/userspace_drivers/drivers/zeb/ts/tablelayout.h>
#include <osl/userspace_drivers/drivers/zeb/zeb_devices.h>

#include <gtest/gtest.h>

#include <vector>

using namespace Osl::Drivers::Zeb;

TEST(TableLayoutTest, TablesLieInsideTheirMapsAndShareNoWord)
{
    std::vector<bool> pidWords(PIDLUT_DEVICE.mapSize / 4);
    std::vector<bool> ioWords(IPLUT_DEVICE.mapSize / 4);
    const auto take = [&](TableBlock block, uint32_t first, uint32_t count) {
        std::vector<bool>& used = block == TableBlock::PID ? pidWords : ioWords;
        for (uint32_t word = first; word < first + count; ++word) {
            EXPECT_FALSE(used.at(word)) << word;
            used.at(word) = true;
        }
    };
    for (const TableLayout& table :
         {PID_LUT, TSI_MAP, FILTER_TABLE, O_PID_MAP, IP_LUT, PHYS_IN_MAP, PHYS_OUT_MAP, IP_OUT_MAP}) {
        take(table.block, table.active(0), table.words());
        if (table.spare(0) != table.active(0))
            take(table.block, table.spare(0), table.words());
        if (table.bankWord != NO_BANK_WORD)
            take(table.block, table.bankWord, 1);
    }
    for (const uint32_t base : {TSI_BITRATE_BASE, TSO_BITRATE_BASE, STATUS_1536_BASE})
        take(TableBlock::PID, base, STATUS_COUNT);
}
