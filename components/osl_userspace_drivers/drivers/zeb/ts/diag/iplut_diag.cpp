#include "table_readout.h"

#include <osl/userspace_drivers/drivers/zeb/ts/diag/iplut_diag.h>
#include <osl/userspace_drivers/drivers/zeb/ts/ipoutentry.h>
#include <osl/userspace_drivers/drivers/zeb/ts/physinentry.h>
#include <osl/userspace_drivers/drivers/zeb/ts/physoutentry.h>
#include <osl/userspace_drivers/drivers/zeb/ts/tablebank.h>

namespace Osl::Drivers::Zeb {
namespace {

constexpr TableReadOut<IpInEntry> IP_LUT_READ_OUT{IP_LUT, 3, [](const IpInEntry& entry) { return !entry.isEnabled(); },
                                                  [](LineBuffer& line, uint32_t, const IpInEntry& entry) {
                                                      append(line, "IP:{}, UDP_PORT:{:05}, TSIIDX:{:03}, ENABLED:{}",
                                                             entry.getIpAddress().toString(), entry.getUdpPort(),
                                                             entry.getTSIidx(), yesOrNo(entry.isEnabled()));
                                                  }};

constexpr TableReadOut<PhysInEntry> PHYS_IN_MAP_READ_OUT{
    PHYS_IN_MAP, 3, [](const PhysInEntry& entry) { return entry.getTSIidx() == PhysInEntry::STUFFING_TSI; },
    [](LineBuffer& line, uint32_t row, const PhysInEntry& entry) {
        append(line, "PHYIIDX:{:02}, TSIIDX:{:03}", row, entry.getTSIidx());
    }};

constexpr TableReadOut<IpOutEntry> IP_OUT_MAP_READ_OUT{
    IP_OUT_MAP, 3, [](const IpOutEntry& entry) { return !entry.isEnabled(); },
    [](LineBuffer& line, uint32_t row, const IpOutEntry& entry) {
        append(line, "TSOIDX:{:03}, MAC:{}, IP:{}, PORT:{:02}, RTP:{}, ENABLED:{}", row,
               entry.getMacAddress().toString(), entry.getIpAddress().toString(), entry.getUdpPort(),
               yesOrNo(entry.isRtp()), yesOrNo(entry.isEnabled()));
    }};

constexpr TableReadOut<PhysOutEntry> PHYS_OUT_MAP_READ_OUT{
    PHYS_OUT_MAP, 3, [](const PhysOutEntry& entry) { return !entry.isEnabled(); },
    [](LineBuffer& line, uint32_t row, const PhysOutEntry& entry) {
        append(line, "TSOIDX:{:03}, PHYOIDX:{:03}, ENABLED:{}", row, entry.getPHYOidx(), yesOrNo(entry.isEnabled()));
    }};

} // namespace

void printIpLut(IMemIf& memory, uint32_t offset, uint32_t count, bool inactive, bool showAll, std::ostream& out)
{
    printTable(memory, IP_LUT_READ_OUT, {offset, count, inactive, showAll}, out);
}

void printPhysInMap(IMemIf& memory, uint32_t offset, uint32_t count, bool inactive, bool showAll, std::ostream& out)
{
    printTable(memory, PHYS_IN_MAP_READ_OUT, {offset, count, inactive, showAll}, out);
}

void printIpOutMap(IMemIf& memory, uint32_t offset, uint32_t count, bool inactive, bool showAll, std::ostream& out)
{
    printTable(memory, IP_OUT_MAP_READ_OUT, {offset, count, inactive, showAll}, out);
}

void printPhysOutMap(IMemIf& memory, uint32_t offset, uint32_t count, bool inactive, bool showAll, std::ostream& out)
{
    printTable(memory, PHYS_OUT_MAP_READ_OUT, {offset, count, inactive, showAll}, out);
}

std::list<IpInEntry> getIpLut(IMemIf& memory, uint32_t offset, uint32_t count, bool inactive, bool showAll)
{
    return getTable<IpInEntry>(memory, IP_LUT, {offset, count, inactive, showAll}, IP_LUT_READ_OUT.isUnused);
}

bool getActiveIpLutBank(IMemIf& memory) { return activeBank(memory, IP_LUT); }

} // namespace Osl::Drivers::Zeb
