#include <osl/userspace_drivers/drivers/drivererror.h>
#include <osl/userspace_drivers/drivers/zeb/ts/pidlutmapdriver.h>
#include <osl/userspace_drivers/drivers/zeb/ts/tablebank.h>

#include <fmt/format.h>

#include <atomic>
#include <utility>

namespace Osl::Drivers::Zeb {
namespace {

/// After every write: the FPGA must see the rows of a table before the bank switch that makes it use them.
void barrier() { std::atomic_thread_fence(std::memory_order_seq_cst); }

} // namespace

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
    fillSpareBank<PidLutEntry>(
        *m_Memory, PID_LUT, entries, [](const auto& row) -> const auto& { return row.second.getWords(); },
        [this](uint32_t offset, const auto& row) { writeRow(offset, row); });
    switchBank(*m_Memory, PID_LUT);
    barrier();
}

void PidLutMapDriver::writePidMapEntry(const PidMapEntry& entry)
{
    writeRow(O_PID_MAP.rowOffset(entry.getPIDidx()), entry.getWords());
}

void PidLutMapDriver::writeTsiMapEntry(const TsiMapEntry& entry)
{
    writeRow(TSI_MAP.rowOffset(entry.getTSIidx()), entry.getWords());
}

void PidLutMapDriver::writeFilterTabEntry(const FilterTabEntry& entry)
{
    writeRow(FILTER_TABLE.rowOffset(entry.getFILTTABIDX()), entry.getWords());
}

uint32_t PidLutMapDriver::readStatus1280(uint32_t index) { return readStatus(TSO_BITRATE_BASE, index); }
uint32_t PidLutMapDriver::readStatus1024(uint32_t index) { return readStatus(TSI_BITRATE_BASE, index); }
uint32_t PidLutMapDriver::readStatus1536(uint32_t index) { return readStatus(STATUS_1536_BASE, index); }

void PidLutMapDriver::clearPidLut()
{
    writePidLut({});
    writePidLut({});
}

void PidLutMapDriver::clearPidMap()
{
    for (uint32_t pidIdx = O_PID_MAP.firstRow; pidIdx < O_PID_MAP.rows; ++pidIdx)
        writePidMapEntry(PidMapEntry(pidIdx));
}

void PidLutMapDriver::clearTsiMap()
{
    for (uint32_t tsiIdx = 0; tsiIdx < TSI_MAP.rows; ++tsiIdx)
        writeTsiMapEntry(TsiMapEntry(tsiIdx));
}

void PidLutMapDriver::clearFilterTab()
{
    for (uint32_t filtTabIdx = 0; filtTabIdx < FILTER_TABLE.rows; ++filtTabIdx)
        writeFilterTabEntry(FilterTabEntry(filtTabIdx));
}

void PidLutMapDriver::writeRow(uint32_t offset, const std::vector<uint32_t>& words)
{
    m_Memory->writeBlock32(offset, words);
    barrier();
}

uint32_t PidLutMapDriver::readStatus(uint32_t base, uint32_t index)
{
    return index < STATUS_COUNT ? m_Memory->read32(base + index) : 0;
}

} // namespace Osl::Drivers::Zeb
