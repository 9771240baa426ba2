#include <osl/userspace_drivers/drivers/drivererror.h>
#include <osl/userspace_drivers/drivers/zeb/attr/cammonitor.h>
#include <osl/userspace_drivers/drivers/zeb/zeb_attributes.h>

#include <fmt/format.h>

#include <algorithm>
#include <utility>

namespace Osl::Drivers::Zeb {
namespace {

constexpr uint32_t LOWEST_PID = 0x20;
constexpr uint32_t HIGHEST_PID = 0x1FFE;

/// An entry that a PID may take. 0x1F is not a PID that can be watched, so an entry with it is unused as well.
bool isFree(uint32_t pid) { return pid == CamMonitor::DISABLED_PID || pid == 0x1F; }

void checkPid(uint32_t pid)
{
    if (pid < LOWEST_PID || pid > HIGHEST_PID)
        OSL_RAISE(CppUtil::InvalidArgumentError, "Invalid PID value given, must be within the range [0x20-0x1FFE]");
}

} // namespace

CamMonitor::CamMonitor(uint32_t slot, LinuxCppUtil::LockPatience patience)
    : m_Folder(fmt::format("{}{}/", CAM_SLOT_FOLDER, slot)),
      m_Patience(std::move(patience))
{
}

std::vector<CamMonitor::Entry> CamMonitor::read() const
{
    const uint32_t count = size();
    const std::vector<uint32_t> pids = table(CAM_PID_ATTRIBUTE, count);
    const std::vector<uint32_t> packets = table(CAM_PACKETS_ATTRIBUTE, count);
    const std::vector<uint32_t> errors = table(CAM_ERRORS_ATTRIBUTE, count);
    std::vector<Entry> entries(count);
    for (uint32_t i = 0; i < count; ++i)
        entries[i] = {pids[i], packets[i], errors[i]};
    return entries;
}

void CamMonitor::insert(uint32_t pid)
{
    checkPid(pid);
    const LinuxCppUtil::AttributeLock lock = lockPids();
    std::vector<uint32_t> pids = table(CAM_PID_ATTRIBUTE, size());
    if (std::find(pids.begin(), pids.end(), pid) != pids.end())
        return;
    const auto entry = std::find_if(pids.begin(), pids.end(), isFree);
    if (entry == pids.end())
        OSL_RAISE(ZebDriverError, "PID table is full");
    *entry = pid;
    writePids(pids);
}

void CamMonitor::remove(uint32_t pid)
{
    checkPid(pid);
    const LinuxCppUtil::AttributeLock lock = lockPids();
    std::vector<uint32_t> pids = table(CAM_PID_ATTRIBUTE, size());
    const auto entry = std::find(pids.begin(), pids.end(), pid);
    if (entry == pids.end())
        return;
    *entry = DISABLED_PID;
    writePids(pids);
}

void CamMonitor::clear()
{
    const LinuxCppUtil::AttributeLock lock = lockPids();
    writePids(std::vector<uint32_t>(size(), DISABLED_PID));
}

uint32_t CamMonitor::size() const { return LinuxCppUtil::readAttributeSize(m_Folder + CAM_SIZE_ATTRIBUTE); }

std::vector<uint32_t> CamMonitor::table(const char* attribute, uint32_t count) const
{
    return LinuxCppUtil::readAttributeTable(m_Folder + attribute, count);
}

LinuxCppUtil::AttributeLock CamMonitor::lockPids() const { return {m_Folder + CAM_PID_ATTRIBUTE, m_Patience}; }

void CamMonitor::writePids(const std::vector<uint32_t>& pids) const
{
    LinuxCppUtil::writeAttributeTable(m_Folder + CAM_PID_ATTRIBUTE, pids);
}

} // namespace Osl::Drivers::Zeb
