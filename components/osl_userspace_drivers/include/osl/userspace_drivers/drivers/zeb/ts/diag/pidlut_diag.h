#pragma once

#include <osl/userspace_drivers/drivers/zeb/ts/pidlutmapdriver.h>
#include <osl/userspace_drivers/interfaces/imemif.h>

#include <cstdint>
#include <iosfwd>
#include <list>

/// Read-out of the PID handling block's tables, straight from its memory. Rows `offset` … `offset + count - 1` are
/// taken; rows that are not in use only with `showAll`; `inactive` selects the inactive bank where there are two. The
/// print functions are those of printTable(), one for each table. All raise
/// InvalidArgumentError, before any access, for rows that the table does not have; errors of the device memory pass
/// through.
namespace Osl::Drivers::Zeb {

void printPidLut(IMemIf& memory, uint32_t offset, uint32_t count, bool inactive, bool showAll, std::ostream& out);
void printTsiMap(IMemIf& memory, uint32_t offset, uint32_t count, bool inactive, bool showAll, std::ostream& out);
/// Row 0 is reserved and refused.
void printOPidMap(IMemIf& memory, uint32_t offset, uint32_t count, bool inactive, bool showAll, std::ostream& out);

/// Rows in table order. A row that has neither route counts as not in use here, though printPidLut() shows it unless
/// it is a stuffing row.
std::list<PidLutEntry> getPidLut(IMemIf& memory, uint32_t offset, uint32_t count, bool inactive, bool showAll);

/// The whole active bank without the rows that getPidLut() leaves out; of rows with one (TSIIDX, PID) the first.
PidLutEntries getPidLutEntries(IMemIf& memory);

/// The bank bit as the FPGA now uses it.
bool getActivePidLutBank(IMemIf& memory);

} // namespace Osl::Drivers::Zeb
