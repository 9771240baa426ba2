#include <osl/userspace_drivers/drivers/zeb/ts/diag/pidlut_diag.h>
#include <osl/userspace_drivers/drivers/zeb/ts/diag/table_readout.h>
#include <osl/userspace_drivers/drivers/zeb/ts/tablelayout.h>

namespace Osl::Drivers::Zeb {
namespace {

bool routesNowhere(const std::vector<uint32_t>& words)
{
    return PidLutEntry::FIELD<"CPU_ROUTE">.at.get(words) == 0 && PidLutEntry::FIELD<"OUT_ROUTE">.at.get(words) == 0;
}

} // namespace

void printPidLut(IMemIf& memory, uint32_t offset, uint32_t count, bool inactive, bool showAll, std::ostream& out)
{
    printTable(memory, PID_LUT, {offset, count, inactive, showAll}, out);
}

void printTsiMap(IMemIf& memory, uint32_t offset, uint32_t count, bool inactive, bool showAll, std::ostream& out)
{
    printTable(memory, TSI_MAP, {offset, count, inactive, showAll}, out);
}

void printOPidMap(IMemIf& memory, uint32_t offset, uint32_t count, bool inactive, bool showAll, std::ostream& out)
{
    printTable(memory, O_PID_MAP, {offset, count, inactive, showAll}, out);
}

std::list<PidLutEntry> getPidLut(IMemIf& memory, uint32_t offset, uint32_t count, bool inactive, bool showAll)
{
    return getTable<PidLutEntry>(memory, {offset, count, inactive, showAll}, routesNowhere);
}

PidLutEntries getPidLutEntries(IMemIf& memory)
{
    PidLutEntries entries;
    visitRows(memory, PID_LUT, {0, PID_LUT.rows, false, false}, routesNowhere,
              [&](uint32_t, uint32_t, std::vector<uint32_t>&& words) {
                  const uint32_t tsiIdx = PidLutEntry::FIELD<"TSIIDX">.at.get(words);
                  const uint32_t pid = PidLutEntry::FIELD<"PID">.at.get(words);
                  // The rows come in order: with the end as a hint each takes its place at once.
                  entries.try_emplace(entries.end(), {tsiIdx, pid}, std::move(words));
              });
    return entries;
}

bool getActivePidLutBank(IMemIf& memory) { return PID_LUT.bankInUse(memory.read32(PID_LUT.bankWord)) != 0; }

} // namespace Osl::Drivers::Zeb
