#include <osl/userspace_drivers/drivers/drivererror.h>
#include <osl/userspace_drivers/drivers/zeb/ts/tablebank.h>
#include <osl/userspace_drivers/drivers/zeb/ts/tsiodriver.h>

#include <fmt/format.h>

#include <algorithm>
#include <utility>

namespace Osl::Drivers::Zeb {

TsIoDriver::TsIoDriver(std::shared_ptr<IMemIf> memory) : m_Memory(std::move(memory))
{
    if (!m_Memory)
        OSL_RAISE(ZebDriverError, "Fatal error: invalid IMemIf reference in constructor");
}

std::string TsIoDriver::getName() const { return "Ostrel ZEB Transport Stream IO LUT/MAP Top Level Driver"; }

std::string TsIoDriver::getDescription() const
{
    return "Top level driver for the ZEB transport stream input/output LUT/MAP FPGA implemented hardware.";
}

void TsIoDriver::writeIpInLut(const std::list<IpInEntry>& entries)
{
    if (entries.size() > IP_LUT.rows)
        OSL_RAISE(ZebDriverError,
                  fmt::format("API error: Invalid length of list containing IpLutIn entries. List is {} .ZEBTSIF FPGA "
                              "supports a maximum of {}.",
                              entries.size(), IP_LUT.rows));
    if (!std::is_sorted(entries.begin(), entries.end()))
        OSL_RAISE(ZebDriverError, "API error: An unsorted list was supplied to \"writeIpInLut\" handle.");
    fillSpareBank<IpInEntry>(
        *m_Memory, IP_LUT, entries, [](const IpInEntry& entry) -> const auto& { return entry.getWords(); },
        [this](uint32_t offset, const auto& words) { m_Memory->writeBlock32(offset, words); });
    switchBank(*m_Memory, IP_LUT);
}

void TsIoDriver::writePhysInEntry(const PhysInEntry& entry)
{
    m_Memory->writeBlock32(PHYS_IN_MAP.rowOffset(entry.getPHYIidx()), entry.getWords());
}

void TsIoDriver::writeIpOutEntry(const IpOutEntry& entry)
{
    m_Memory->writeBlock32(IP_OUT_MAP.rowOffset(entry.getTSOidx()), entry.getWords());
}

void TsIoDriver::writePhysOutEntry(const PhysOutEntry& entry)
{
    m_Memory->writeBlock32(PHYS_OUT_MAP.rowOffset(entry.getTSOidx()), entry.getWords());
}

void TsIoDriver::clearIpInLut(bool bothBanks)
{
    writeIpInLut({});
    if (bothBanks)
        writeIpInLut({});
}

void TsIoDriver::clearPhysInMap()
{
    for (uint32_t phyIIdx = 0; phyIIdx < PHYS_IN_MAP.rows; ++phyIIdx)
        writePhysInEntry(PhysInEntry(phyIIdx));
}

void TsIoDriver::clearIpOutMap()
{
    for (uint32_t tsoIdx = 0; tsoIdx < IP_OUT_MAP.rows; ++tsoIdx)
        writeIpOutEntry(IpOutEntry(tsoIdx));
}

void TsIoDriver::clearPhysOutMap()
{
    for (uint32_t tsoIdx = 0; tsoIdx < PHYS_OUT_MAP.rows; ++tsoIdx)
        writePhysOutEntry(PhysOutEntry(tsoIdx));
}

} // namespace Osl::Drivers::Zeb
