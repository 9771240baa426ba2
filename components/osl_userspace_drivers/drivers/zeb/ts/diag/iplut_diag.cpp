#include <osl/userspace_drivers/drivers/zeb/ts/diag/iplut_diag.h>
#include <osl/userspace_drivers/drivers/zeb/ts/diag/table_readout.h>
#include <osl/userspace_drivers/drivers/zeb/ts/tablelayout.h>

namespace Osl::Drivers::Zeb {

void printIpLut(IMemIf& memory, uint32_t offset, uint32_t count, bool inactive, bool showAll, std::ostream& out)
{
    printTable(memory, IP_LUT, {offset, count, inactive, showAll}, out);
}

void printPhysInMap(IMemIf& memory, uint32_t offset, uint32_t count, bool inactive, bool showAll, std::ostream& out)
{
    printTable(memory, PHYS_IN_MAP, {offset, count, inactive, showAll}, out);
}

void printIpOutMap(IMemIf& memory, uint32_t offset, uint32_t count, bool inactive, bool showAll, std::ostream& out)
{
    printTable(memory, IP_OUT_MAP, {offset, count, inactive, showAll}, out);
}

void printPhysOutMap(IMemIf& memory, uint32_t offset, uint32_t count, bool inactive, bool showAll, std::ostream& out)
{
    printTable(memory, PHYS_OUT_MAP, {offset, count, inactive, showAll}, out);
}

std::list<IpInEntry> getIpLut(IMemIf& memory, uint32_t offset, uint32_t count, bool inactive, bool showAll)
{
    return getTable<IpInEntry>(memory, {offset, count, inactive, showAll},
                               [](const auto& words) { return IP_LUT.isUnused(words); });
}

bool getActiveIpLutBank(IMemIf& memory) { return IP_LUT.bankInUse(memory.read32(IP_LUT.bankWord)) != 0; }

} // namespace Osl::Drivers::Zeb
