#include <osl/userspace_drivers/drivers/drivererror.h>
#include <osl/userspace_drivers/drivers/zeb/ts/bankedtable.h>
#include <osl/userspace_drivers/drivers/zeb/ts/pidlutmapdriver.h>
#include <osl/userspace_drivers/drivers/zeb/ts/tablelayout.h>
#include <osl/userspace_drivers/drivers/zeb/ts/tablerows.h>

#include <fmt/format.h>

#include <atomic>
#include <utility>

namespace Osl::Drivers::Zeb {

PidLutMapDriver::PidLutMapDriver(std::shared_ptr<IMemIf> memory) : m_Memory(std::move(memory))
{
    if (!m_Memory)
        OSL_RAISE(ZebDriverError, "Fatal error: invalid IMemIf reference in constructor");
}

std::string PidLutMapDriver::getName() const { return "Ostrel ZEB Transport Stream PID LUT/MAP Top Level Driver"; }

std::string PidLutMapDriver::getDescription() const
{
    return "Top level driver for the ZEB transport stream PID handling LUT/MAP FPGA implemented hardware.";
}

void PidLutMapDriver::writePidLut(const PidLutEntries& entries)
{
    if (entries.size() > PID_LUT.rows)
        OSL_RAISE(ZebDriverError, fmt::format("API error: Invalid length of list containing PidLut entries. List is {} "
                                              ".ZEBTSIF FPGA supports a maximum of {}.",
                                              entries.size(), PID_LUT.rows));
    BankedTable lut(*m_Memory, PID_LUT);
    lut.fillByRow(
        entries, [](const auto& row) -> const auto& { return row.second.getWords(); });
    lut.switchBanks();
}

void PidLutMapDriver::writePidMapEntry(const PidMapEntry& entry) { writeRow(entry); }
void PidLutMapDriver::writeTsiMapEntry(const TsiMapEntry& entry) { writeRow(entry); }
void PidLutMapDriver::writeFilterTabEntry(const FilterTabEntry& entry) { writeRow(entry); }

uint32_t PidLutMapDriver::readStatus1280(uint32_t index) { return readStatus(TSO_BITRATE_BASE, index); }
uint32_t PidLutMapDriver::readStatus1024(uint32_t index) { return readStatus(TSI_BITRATE_BASE, index); }
uint32_t PidLutMapDriver::readStatus1536(uint32_t index) { return readStatus(STATUS_1536_BASE, index); }

void PidLutMapDriver::clearPidLut()
{
    writePidLut({});
    writePidLut({});
}

// Through the virtual table: a derived driver sees each row.
void PidLutMapDriver::clearPidMap()
{
    forEachUnusedRow<PidMapEntry>([this](const PidMapEntry& entry) { writePidMapEntry(entry); });
}

void PidLutMapDriver::clearTsiMap()
{
    forEachUnusedRow<TsiMapEntry>([this](const TsiMapEntry& entry) { writeTsiMapEntry(entry); });
}

void PidLutMapDriver::clearFilterTab()
{
    forEachUnusedRow<FilterTabEntry>([this](const FilterTabEntry& entry) { writeFilterTabEntry(entry); });
}

void PidLutMapDriver::writeRow(const FieldEntry& entry)
{
    Zeb::writeRow(*m_Memory, entry);
    std::atomic_thread_fence(std::memory_order_seq_cst); // the FPGA must see each write before the next
}

uint32_t PidLutMapDriver::readStatus(uint32_t base, uint32_t index)
{
    return index < STATUS_COUNT ? m_Memory->read32(base + index) : 0;
}

} // namespace Osl::Drivers::Zeb
