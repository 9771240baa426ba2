#include <osl/userspace_drivers/drivers/drivererror.h>
#include <osl/userspace_drivers/drivers/zeb/ts/bankedtable.h>
#include <osl/userspace_drivers/drivers/zeb/ts/tablerows.h>
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
    BankedTable lut(*m_Memory, IP_LUT);
    lut.fillByRow(entries, &IpInEntry::getWords);
    lut.switchBanks();
}

void TsIoDriver::writePhysInEntry(const PhysInEntry& entry) { writeRow(*m_Memory, entry); }
void TsIoDriver::writeIpOutEntry(const IpOutEntry& entry) { writeRow(*m_Memory, entry); }
void TsIoDriver::writePhysOutEntry(const PhysOutEntry& entry) { writeRow(*m_Memory, entry); }

void TsIoDriver::clearIpInLut(bool bothBanks)
{
    writeIpInLut({});
    if (bothBanks)
        writeIpInLut({});
}

// Through the virtual table: a derived driver sees each row.
void TsIoDriver::clearPhysInMap()
{
    forEachUnusedRow<PhysInEntry>([this](const PhysInEntry& entry) { writePhysInEntry(entry); });
}

void TsIoDriver::clearIpOutMap()
{
    forEachUnusedRow<IpOutEntry>([this](const IpOutEntry& entry) { writeIpOutEntry(entry); });
}

void TsIoDriver::clearPhysOutMap()
{
    forEachUnusedRow<PhysOutEntry>([this](const PhysOutEntry& entry) { writePhysOutEntry(entry); });
}

} // namespace Osl::Drivers::Zeb
