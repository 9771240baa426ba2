#include "virtual_board/reset_state.h"

#include "virtual_board/cam_slot.h"

#include <osl/userspace_drivers/drivers/zeb/attr/cammonitor.h>
#include <osl/userspace_drivers/drivers/zeb/attr/mcnotlut.h>
#include <osl/userspace_drivers/drivers/zeb/scm/scmlayout.h>
#include <osl/userspace_drivers/drivers/zeb/zeb_attributes.h>

#include <fmt/format.h>

#include <algorithm>

namespace Osl::VirtualBoard {
namespace Zeb = Drivers::Zeb;

namespace {

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
    const auto fill = [&words](const Zeb::TableLayout& table) {
        const std::vector<uint32_t> row = Zeb::FieldEntry(table).getWords();
        for (const uint32_t base : table.activeBase)
            for (uint32_t offset = base; offset < base + table.words(); offset += table.wordsPerRow)
                std::copy(row.begin(), row.end(), words.begin() + offset);
    };
    for (const Zeb::TableLayout* table : Zeb::ROUTING_TABLES)
        if (table->block == memory.tables)
            fill(*table);
    if (memory.tables == Zeb::SCM_PID_LUT.block)
        fill(Zeb::SCM_PID_LUT);
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
