#pragma once

#include <osl/userspace_drivers/drivers/zeb/ts/ipinentry.h>
#include <osl/userspace_drivers/interfaces/imemif.h>

#include <cstdint>
#include <iosfwd>
#include <list>

/// Read-out of the input/output block's tables; see pidlut_diag.h, the functions work alike. The IP LUT is reached at
/// one address, so `inactive` changes nothing here.
namespace Osl::Drivers::Zeb {

void printIpLut(IMemIf& memory, uint32_t offset, uint32_t count, bool inactive, bool showAll, std::ostream& out);
void printPhysInMap(IMemIf& memory, uint32_t offset, uint32_t count, bool inactive, bool showAll, std::ostream& out);
void printIpOutMap(IMemIf& memory, uint32_t offset, uint32_t count, bool inactive, bool showAll, std::ostream& out);
void printPhysOutMap(IMemIf& memory, uint32_t offset, uint32_t count, bool inactive, bool showAll, std::ostream& out);

/// Rows in table order.
std::list<IpInEntry> getIpLut(IMemIf& memory, uint32_t offset, uint32_t count, bool inactive, bool showAll);

/// The bank bit as the FPGA now uses it.
bool getActiveIpLutBank(IMemIf& memory);

} // namespace Osl::Drivers::Zeb
