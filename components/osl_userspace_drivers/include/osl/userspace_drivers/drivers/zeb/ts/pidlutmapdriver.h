#pragma once

#include <osl/userspace_drivers/drivers/basedriver.h>
#include <osl/userspace_drivers/drivers/zeb/ts/filtertabentry.h>
#include <osl/userspace_drivers/drivers/zeb/ts/pidlutentry.h>
#include <osl/userspace_drivers/drivers/zeb/ts/pidmapentry.h>
#include <osl/userspace_drivers/drivers/zeb/ts/tsimapentry.h>
#include <osl/userspace_drivers/interfaces/imemif.h>

#include <cstdint>
#include <map>
#include <memory>
#include <utility>

namespace Osl::Drivers::Zeb {

/// A whole PID LUT: its rows by (TSIIDX, PID), which is the order in which the FPGA needs them.
using PidLutEntries = std::map<std::pair<uint32_t, uint32_t>, PidLutEntry>;

/// Writes the tables of the PID handling block. Holds no table contents. Errors of the device memory pass through.
/// One thread at a time; two processes that write the PID LUT at once corrupt the inactive bank.
class PidLutMapDriver : public BaseDriver
{
public:
    /// `memory` is the PID handling block's; null raises ZebDriverError.
    explicit PidLutMapDriver(std::shared_ptr<IMemIf> memory);

    std::string getName() const override;
    std::string getDescription() const override;

    virtual uint32_t getMaxPidIdx() const { return 4095; }
    virtual uint32_t getTsiCount() const { return 256; }
    virtual uint32_t getMaxFilterCount() const { return 254; }

    /// Replaces the whole PID LUT: fills the inactive bank, then makes it the active one with the last write. Raises
    /// ZebDriverError, nothing written, for more than 2048 entries. If an access fails, the active bank is untouched.
    virtual void writePidLut(const PidLutEntries& entries);
    virtual void writePidMapEntry(const PidMapEntry& entry);
    virtual void writeTsiMapEntry(const TsiMapEntry& entry);
    virtual void writeFilterTabEntry(const FilterTabEntry& entry);

    // Counters of the FPGA; 0, without an access, for an index above 255.
    virtual uint32_t readStatus1280(uint32_t index);
    virtual uint32_t readStatus1024(uint32_t index);
    virtual uint32_t readStatus1536(uint32_t index);

    /// Leaves both banks with stuffing only, and the bank bit as it was.
    virtual void clearPidLut();
    /// Row by row; the reserved row 0 is not touched.
    virtual void clearPidMap();
    virtual void clearTsiMap();
    virtual void clearFilterTab();

private:
    void writeRow(const FieldEntry& entry);
    uint32_t readStatus(uint32_t base, uint32_t index);

    std::shared_ptr<IMemIf> m_Memory;
};

} // namespace Osl::Drivers::Zeb
