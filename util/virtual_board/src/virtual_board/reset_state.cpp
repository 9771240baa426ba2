#include "virtual_board/reset_state.h"

#include "virtual_board/cam_slot.h"

#include <osl/userspace_drivers/drivers/zeb/attr/cammonitor.h>
#include <osl/userspace_drivers/drivers/zeb/attr/mcnotlut.h>
#include <osl/userspace_drivers/drivers/zeb/scm/scmlayout.h>
#include <osl/userspace_drivers/drivers/zeb/ts/filtertabentry.h>
#include <osl/userspace_drivers/drivers/zeb/ts/ipinentry.h>
#include <osl/userspace_drivers/drivers/zeb/ts/ipoutentry.h>
#include <osl/userspace_drivers/drivers/zeb/ts/physinentry.h>
#include <osl/userspace_drivers/drivers/zeb/ts/physoutentry.h>
#include <osl/userspace_drivers/drivers/zeb/ts/pidlutentry.h>
#include <osl/userspace_drivers/drivers/zeb/ts/pidmapentry.h>
#include <osl/userspace_drivers/drivers/zeb/ts/tsimapentry.h>
#include <osl/userspace_drivers/drivers/zeb/zeb_attributes.h>

#include <fmt/format.h>

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

constexpr uint32_t CAM_MONITOR_SIZE = 32;
constexpr uint32_t MCNOTLUT_SIZE = 64;

std::string bytesOf(uint32_t count, uint32_t word)
{
    const std::vector<uint32_t> words(count, word);
    return {reinterpret_cast<const char*>(words.data()), words.size() * sizeof words[0]};
}

std::string lineOf(uint32_t number) { return fmt::format("{}\n", number); }

} // namespace

std::vector<uint32_t> resetState(const MemoryDevice& memory)
{
    std::vector<uint32_t> words(memory.device.mapSize / sizeof(uint32_t));
    for (const TableReset& table : tableResets()) {
        if (table.layout.block != memory.tables)
            continue;
        for (const uint32_t base : table.layout.activeBase)
            for (uint32_t offset = base; offset < base + table.layout.words(); offset += table.layout.wordsPerRow)
                std::copy(table.row.begin(), table.row.end(), words.begin() + offset);
    }
    if (&memory.device == &SCM_DEVICE) {
        for (const uint32_t base : Zeb::ScmPidLutLayout::BANKS)
            std::fill_n(words.begin() + base, Zeb::ScmPidLutLayout::ROWS, Zeb::ScmPidLutLayout::EMPTY_ROW);
    }
    return words;
}

std::vector<AttributeFile> attributeFiles()
{
    std::vector<AttributeFile> files{
        {Zeb::MCNOTLUT_SIZE_ATTRIBUTE, lineOf(MCNOTLUT_SIZE)},
        {Zeb::MCNOTLUT_ATTRIBUTE, bytesOf(MCNOTLUT_SIZE, Zeb::McNotLut::VACANT)},
        {Zeb::SCM_BARSIZE_ATTRIBUTE, lineOf(SCM_DEVICE.mapSize)},
    };
    for (uint32_t slot = 0; slot < CamSlot::SLOTS; ++slot) {
        const std::string folder = fmt::format("{}{}/", Zeb::CAM_SLOT_FOLDER, slot);
        files.push_back({folder + Zeb::CAM_SIZE_ATTRIBUTE, lineOf(CAM_MONITOR_SIZE)});
        files.push_back({folder + Zeb::CAM_PID_ATTRIBUTE, bytesOf(CAM_MONITOR_SIZE, Zeb::CamMonitor::DISABLED_PID)});
        files.push_back({folder + Zeb::CAM_PACKETS_ATTRIBUTE, bytesOf(CAM_MONITOR_SIZE, 0)});
        files.push_back({folder + Zeb::CAM_ERRORS_ATTRIBUTE, bytesOf(CAM_MONITOR_SIZE, 0)});
    }
    return files;
}

} // namespace Osl::VirtualBoard
