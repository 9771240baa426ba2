#pragma once

#include <osl/userspace_drivers/drivers/basedriver.h>
#include <osl/userspace_drivers/drivers/zeb/ts/ipinentry.h>
#include <osl/userspace_drivers/drivers/zeb/ts/ipoutentry.h>
#include <osl/userspace_drivers/drivers/zeb/ts/physinentry.h>
#include <osl/userspace_drivers/drivers/zeb/ts/physoutentry.h>
#include <osl/userspace_drivers/interfaces/imemif.h>

#include <cstdint>
#include <list>
#include <memory>

namespace Osl::Drivers::Zeb {

/// Writes the tables of the input/output block. Holds no table contents. Errors of the device memory pass through.
/// One thread at a time; two processes that write the IP LUT at once corrupt it.
class TsIoDriver : public BaseDriver
{
public:
    /// `memory` is the input/output block's; null raises ZebDriverError.
    explicit TsIoDriver(std::shared_ptr<IMemIf> memory);

    std::string getName() const override;
    std::string getDescription() const override;

    // The limits that the PID handling block's driver returns; here they limit nothing.
    virtual uint32_t getMaxPidIdx() const { return 256; }
    virtual uint32_t getTsiCount() const { return 256; }
    virtual uint32_t getMaxFilterCount() const { return 0xFFFFFFFF; }

    /// Replaces the whole IP LUT, then switches its bank with the last write. Raises ZebDriverError, nothing written,
    /// for more than 256 entries and for entries that are not in ascending order. If an access fails, the bank is not
    /// switched.
    virtual void writeIpInLut(const std::list<IpInEntry>& entries);
    virtual void writePhysInEntry(const PhysInEntry& entry);
    virtual void writeIpOutEntry(const IpOutEntry& entry);
    virtual void writePhysOutEntry(const PhysOutEntry& entry);

    /// Leaves one bank, or both, with stuffing only; with both, the bank bit ends as it was.
    virtual void clearIpInLut(bool bothBanks);
    virtual void clearPhysInMap();
    virtual void clearIpOutMap();
    virtual void clearPhysOutMap();

private:
    std::shared_ptr<IMemIf> m_Memory;
};

} // namespace Osl::Drivers::Zeb
