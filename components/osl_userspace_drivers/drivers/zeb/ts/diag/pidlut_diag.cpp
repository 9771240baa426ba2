#include "table_readout.h"

#include <osl/userspace_drivers/drivers/zeb/ts/diag/pidlut_diag.h>
#include <osl/userspace_drivers/drivers/zeb/ts/pidmapentry.h>
#include <osl/userspace_drivers/drivers/zeb/ts/tablebank.h>
#include <osl/userspace_drivers/drivers/zeb/ts/tsimapentry.h>

namespace Osl::Drivers::Zeb {
namespace {

const TableReadOut<PidLutEntry> PID_LUT_READ_OUT{
    PID_LUT, 3,
    [](const PidLutEntry& entry) {
        static const PidLutEntry STUFFING;
        return entry == STUFFING;
    },
    [](LineBuffer& line, uint32_t, const PidLutEntry& entry) {
        appendFast(
            line,
            FMT_COMPILE("TSIIDX:{:03}, PID:0x{:04x}({:04}), PIDIDX:{:04}, CPU_ROUTE:{}, OUT_ROUTE:{}, FILTIDX:{:03}"),
            entry.getTSIIDX(), entry.getPID(), entry.getPID(), entry.getPIDIDX(), yesOrNo(entry.isCpuRoute()),
            yesOrNo(entry.isOutRoute()), entry.getFiltTabIDX());
    }};

constexpr TableReadOut<TsiMapEntry> TSI_MAP_READ_OUT{
    TSI_MAP, 3, [](const TsiMapEntry& entry) { return !entry.isEnabled(); },
    [](LineBuffer& line, uint32_t row, const TsiMapEntry& entry) {
        append(line, "TSIIDX:{:03}, PIDIDX:{:04}, ENABLED:{}", row, entry.getPIDidx(), yesOrNo(entry.isEnabled()));
    }};

constexpr TableReadOut<PidMapEntry> O_PID_MAP_READ_OUT{
    O_PID_MAP, 4, [](const PidMapEntry& entry) { return !entry.isEnabled(); },
    [](LineBuffer& line, uint32_t row, const PidMapEntry& entry) {
        appendFast(
            line,
            FMT_COMPILE("PIDIDX:{:04}, OPID:0x{:04x}({:04}), TSOIDX:{:03}, NEXTPIDIDX:{:04}, ENABLED:{}, REMAP:{}"),
            row, entry.getRemapPID(), entry.getRemapPID(), entry.getTSOidx(), entry.getNextPIDidx(),
            yesOrNo(entry.isEnabled()), yesOrNo(entry.isRemap()));
    }};

bool routesNowhere(const PidLutEntry& entry) { return !entry.isCpuRoute() && !entry.isOutRoute(); }

} // namespace

void printPidLut(IMemIf& memory, uint32_t offset, uint32_t count, bool inactive, bool showAll, std::ostream& out)
{
    printTable(memory, PID_LUT_READ_OUT, {offset, count, inactive, showAll}, out);
}

void printTsiMap(IMemIf& memory, uint32_t offset, uint32_t count, bool inactive, bool showAll, std::ostream& out)
{
    printTable(memory, TSI_MAP_READ_OUT, {offset, count, inactive, showAll}, out);
}

void printOPidMap(IMemIf& memory, uint32_t offset, uint32_t count, bool inactive, bool showAll, std::ostream& out)
{
    if (offset < O_PID_MAP.firstRow)
        OSL_RAISE(CppUtil::InvalidArgumentError,
                  "Offset value 0 is not permitted in the ZEB O-PID MAP, since this is a reserved value.");
    printTable(memory, O_PID_MAP_READ_OUT, {offset, count, inactive, showAll}, out);
}

std::list<PidLutEntry> getPidLut(IMemIf& memory, uint32_t offset, uint32_t count, bool inactive, bool showAll)
{
    return getTable<PidLutEntry>(memory, PID_LUT, {offset, count, inactive, showAll}, routesNowhere);
}

PidLutEntries getPidLutEntries(IMemIf& memory)
{
    PidLutEntries entries;
    visitRows<PidLutEntry>(memory, PID_LUT, {0, PID_LUT.rows, false, false}, routesNowhere,
                           [&entries](uint32_t, uint32_t, const PidLutEntry& entry) {
                               // The rows come in order: with the end as a hint each takes its place at once.
                               entries.try_emplace(entries.end(), {entry.getTSIIDX(), entry.getPID()}, entry);
                           });
    return entries;
}

bool getActivePidLutBank(IMemIf& memory) { return activeBank(memory, PID_LUT); }

} // namespace Osl::Drivers::Zeb
