#include "virtual_board/reset_state.h"

#include <osl/userspace_drivers/drivers/zeb/ts/filtertabentry.h>
#include <osl/userspace_drivers/drivers/zeb/ts/ipinentry.h>
#include <osl/userspace_drivers/drivers/zeb/ts/ipoutentry.h>
#include <osl/userspace_drivers/drivers/zeb/ts/physinentry.h>
#include <osl/userspace_drivers/drivers/zeb/ts/physoutentry.h>
#include <osl/userspace_drivers/drivers/zeb/ts/pidlutentry.h>
#include <osl/userspace_drivers/drivers/zeb/ts/pidmapentry.h>
#include <osl/userspace_drivers/drivers/zeb/ts/tsimapentry.h>

#include <algorithm>

namespace Osl::VirtualBoard {
namespace Zeb = Drivers::Zeb;

namespace {

struct TableReset
{
    const Zeb::TableLayout& layout;
    std::vector<uint32_t> row; ///< what each row holds
};

std::vector<TableReset> tableResets()
{
    return {
        {Zeb::PID_LUT, Zeb::PidLutEntry().getWords()},
        {Zeb::TSI_MAP, Zeb::TsiMapEntry().getWords()},
        {Zeb::FILTER_TABLE, Zeb::FilterTabEntry().getWords()},
        {Zeb::O_PID_MAP, Zeb::PidMapEntry().getWords()},
        {Zeb::IP_LUT, Zeb::IpInEntry().getWords()},
        {Zeb::PHYS_IN_MAP, Zeb::PhysInEntry().getWords()},
        {Zeb::PHYS_OUT_MAP, Zeb::PhysOutEntry().getWords()},
        {Zeb::IP_OUT_MAP, Zeb::IpOutEntry().getWords()},
    };
}

} // namespace

std::vector<uint32_t> resetState(const MemoryDevice& memory)
{
    std::vector<uint32_t> words(memory.device.mapSize / sizeof(uint32_t));
    for (const TableReset& table : tableResets()) {
        if (table.layout.block != memory.tables)
            continue;
        for (const uint32_t base : table.layout.activeBase)
            for (uint32_t row = 0; row < table.layout.rows; ++row)
                std::copy(table.row.begin(), table.row.end(), words.begin() + base + row * table.layout.wordsPerRow);
    }
    return words;
}

} // namespace Osl::VirtualBoard
