#include "virtual_board/cam_slot.h"

#include "virtual_board/whole_file.h"

#include <osl/userspace_drivers/drivers/zeb/attr/cammonitor.h>
#include <osl/userspace_drivers/drivers/zeb/zeb_attributes.h>

#include <fmt/format.h>

namespace Osl::VirtualBoard {

namespace Zeb = Drivers::Zeb;

namespace {

constexpr uint16_t NOT_WATCHED = 0xFFFF;
constexpr uint32_t COUNTER_MASK = 0xFFFFF; ///< counters have 20 bits

} // namespace

CamSlot::CamSlot(uint32_t slot, const std::filesystem::path& root)
    : m_Folder(root / std::filesystem::path(fmt::format("{}{}", Zeb::CAM_SLOT_FOLDER, slot)).relative_path())
{
    m_EntryOf.fill(NOT_WATCHED);
}

/// An entry whose PID stays keeps track of its continuity.
void CamSlot::loadTable()
{
    const std::vector<uint32_t> pids = readWords(m_Folder / Zeb::CAM_PID_ATTRIBUTE);
    m_EntryOf.fill(NOT_WATCHED);
    m_Entries.resize(pids.size(), {.pid = Zeb::CamMonitor::DISABLED_PID});
    for (std::size_t entry = 0; entry < pids.size(); ++entry) {
        if (m_Entries[entry].pid != pids[entry])
            m_Entries[entry] = {.pid = pids[entry]};
        if (pids[entry] < Zeb::CamMonitor::DISABLED_PID)
            m_EntryOf[pids[entry]] = static_cast<uint16_t>(entry);
    }
    m_TableKnown = true;
}

void CamSlot::count(const uint8_t* packet)
{
    if (!m_TableKnown)
        loadTable();
    const uint16_t entry = m_EntryOf[Ts::Ll::pid(packet)];
    if (entry == NOT_WATCHED)
        return;
    Watched& watched = m_Entries[entry];
    ++watched.packets;
    if (watched.continuity.isError(packet))
        ++watched.errors;
    m_Counted = true;
}

void CamSlot::add(const std::string& attribute, uint32_t Watched::*counter) const
{
    const std::filesystem::path file = m_Folder / attribute;
    std::vector<uint32_t> counters = readWords(file);
    for (std::size_t entry = 0; entry < std::min(counters.size(), m_Entries.size()); ++entry)
        counters[entry] = (counters[entry] + m_Entries[entry].*counter) & COUNTER_MASK;
    if (!counters.empty())
        replaceFile(file, {reinterpret_cast<const char*>(counters.data()), counters.size() * sizeof counters[0]});
}

void CamSlot::update()
{
    m_TableKnown = false;
    if (!m_Counted)
        return;
    add(Zeb::CAM_PACKETS_ATTRIBUTE, &Watched::packets);
    add(Zeb::CAM_ERRORS_ATTRIBUTE, &Watched::errors);
    for (Watched& watched : m_Entries)
        watched.packets = watched.errors = 0;
    m_Counted = false;
}

} // namespace Osl::VirtualBoard
