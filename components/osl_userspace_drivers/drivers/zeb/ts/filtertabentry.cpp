#include <osl/userspace_drivers/drivers/zeb/ts/filtertabentry.h>
#include <osl/userspace_drivers/drivers/zeb/ts/rangecheck.h>

namespace Osl::Drivers::Zeb {

FilterTabEntry::FilterTabEntry(uint32_t filtTabIdx, uint32_t packetCount)
{
    setFILTTABIDX(filtTabIdx);
    setPacketCount(packetCount);
}

void FilterTabEntry::setFILTTABIDX(uint32_t filtTabIdx)
{
    m_FiltTabIdx =
        static_cast<uint8_t>(inRange(filtTabIdx, 0, 255, "FilterTabEntry created/modified with invalid FILTTABIDX ("));
}

void FilterTabEntry::setPacketCount(uint32_t packetCount)
{
    setValue<F::PACKET_COUNT>(
        inRange(packetCount, 0, 255, "FilterTabEntry created/modified with invalid Packet count value ("));
}

} // namespace Osl::Drivers::Zeb
