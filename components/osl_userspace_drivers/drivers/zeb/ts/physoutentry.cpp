#include <osl/userspace_drivers/drivers/zeb/ts/physoutentry.h>
#include <osl/userspace_drivers/drivers/zeb/ts/rangecheck.h>

namespace Osl::Drivers::Zeb {

PhysOutEntry::PhysOutEntry(uint32_t tsoIdx)
{
    setStuffing();
    setTSOidx(tsoIdx);
}

PhysOutEntry::PhysOutEntry(uint32_t tsoIdx, uint32_t phyOIdx, bool enabled)
{
    setTSOidx(tsoIdx);
    setPHYOidx(phyOIdx);
    setEnabled(enabled);
}

void PhysOutEntry::setStuffing()
{
    setTSOidx(255);
    setValue<F::PHYO_IDX>(255);
    setEnabled(false);
}

void PhysOutEntry::setTSOidx(uint32_t tsoIdx)
{
    m_TSOidx = static_cast<uint8_t>(inRange(tsoIdx, 0, 255, "Cannot create PhysOutEntry - invalid TSOidx ("));
}

void PhysOutEntry::setPHYOidx(uint32_t phyOIdx)
{
    setValue<F::PHYO_IDX>(inRange(phyOIdx, 0, MAX_PHYO_IDX, "Cannot create PhysOutEntry - invalid PHYOidx ("));
}

} // namespace Osl::Drivers::Zeb
