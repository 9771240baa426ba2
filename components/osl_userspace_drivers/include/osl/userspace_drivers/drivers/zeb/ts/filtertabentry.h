#pragma once

#include <osl/userspace_drivers/drivers_misc/fieldentry.h>

namespace Osl::Drivers::Zeb {

struct FilterTabFields
{
    static constexpr Misc::BitField PACKET_COUNT{"packet count", 0, 0, 32};
    static constexpr std::array ALL{PACKET_COUNT};
};

/// A row of the FILTER TABLE: how many packets of a payload unit pass to the CPU. The filter index is the row's
/// position and not stored in it. The setters raise ZebDriverError, the entry unchanged, for a value outside the range.
class FilterTabEntry final : public Misc::FieldEntry<1, FilterTabFields::ALL>
{
public:
    /// A stuffing row of filter index 0.
    FilterTabEntry() { setStuffing(); }
    /// The stuffing row of a filter index.
    explicit FilterTabEntry(uint32_t filtTabIdx) : FilterTabEntry(filtTabIdx, 0) {}
    FilterTabEntry(uint32_t filtTabIdx, uint32_t packetCount);

    /// Packet count 0; the filter index stays.
    void setStuffing() override { setPacketCount(0); }

    void setFILTTABIDX(uint32_t filtTabIdx);   ///< 0..255
    void setPacketCount(uint32_t packetCount); ///< 0..255

    uint8_t getFILTTABIDX() const { return m_FiltTabIdx; }
    /// What the row holds, which may be more than setPacketCount() accepts.
    uint32_t getPacketCount() const { return value<F::PACKET_COUNT>(); }

private:
    using F = FilterTabFields;

    uint8_t m_FiltTabIdx = 0;
};

} // namespace Osl::Drivers::Zeb
