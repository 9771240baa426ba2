#pragma once

#include <osl/userspace_drivers/drivers_misc/fieldentry.h>

namespace Osl::Drivers::Zeb {

struct PhysInFields
{
    static constexpr Misc::BitField TSI_IDX{"TSIidx", 0, 0, 8};
    static constexpr std::array ALL{TSI_IDX};
};

/// A row of the PHYS IN MAP: the TSI that a physical input feeds. The input is the row's position and not stored in
/// it. The setters raise ZebDriverError, the entry unchanged, for a value outside the range.
class PhysInEntry final : public Misc::FieldEntry<1, PhysInFields::ALL>
{
public:
    static constexpr uint32_t STUFFING_TSI = 255;

    /// A stuffing row.
    PhysInEntry() { setStuffing(); }
    /// The stuffing row of a physical input.
    explicit PhysInEntry(uint32_t phyIIdx) : PhysInEntry(phyIIdx, STUFFING_TSI) {}
    PhysInEntry(uint32_t phyIIdx, uint32_t tsiIdx);

    /// TSIidx 255, PHYIidx 31.
    void setStuffing() override;

    void setPHYIidx(uint32_t phyIIdx); ///< 0..63
    void setTSIidx(uint32_t tsiIdx);   ///< 0..255

    uint8_t getPHYIidx() const { return m_PHYIidx; }
    uint8_t getTSIidx() const { return value<F::TSI_IDX>(); }

private:
    using F = PhysInFields;

    void putPHYIidx(uint32_t phyIIdx, const char* failure);
    void putTSIidx(uint32_t tsiIdx, const char* failure);

    uint8_t m_PHYIidx = 0;
};

} // namespace Osl::Drivers::Zeb
