#include <osl/userspace_drivers/drivers/zeb/ts/physinentry.h>
#include <osl/userspace_drivers/drivers/zeb/ts/rangecheck.h>

namespace Osl::Drivers::Zeb {

PhysInEntry::PhysInEntry(uint32_t phyIIdx, uint32_t tsiIdx)
{
    putPHYIidx(phyIIdx, "Cannot create PhysInEntry - invalid PHYIidx (");
    putTSIidx(tsiIdx, "Cannot create PhysInEntry - invalid TSIidx (");
}

void PhysInEntry::setStuffing()
{
    setTSIidx(STUFFING_TSI);
    setPHYIidx(31);
}

void PhysInEntry::setPHYIidx(uint32_t phyIIdx) { putPHYIidx(phyIIdx, "Cannot set PHYIidx invalid PHYIidx ("); }

void PhysInEntry::setTSIidx(uint32_t tsiIdx) { putTSIidx(tsiIdx, "Cannot set TSIidx - invalid TSIidx ("); }

void PhysInEntry::putPHYIidx(uint32_t phyIIdx, const char* failure)
{
    m_PHYIidx = static_cast<uint8_t>(inRange(phyIIdx, 0, 63, failure));
}

void PhysInEntry::putTSIidx(uint32_t tsiIdx, const char* failure)
{
    setValue<F::TSI_IDX>(inRange(tsiIdx, 0, F::TSI_IDX.max(), failure));
}

} // namespace Osl::Drivers::Zeb
