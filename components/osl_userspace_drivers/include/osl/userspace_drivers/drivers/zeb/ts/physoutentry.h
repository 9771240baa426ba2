#pragma once

#include <osl/userspace_drivers/drivers_misc/fieldentry.h>

namespace Osl::Drivers::Zeb {

struct PhysOutFields
{
    static constexpr Misc::BitField PHYO_IDX{"PHYOidx", 0, 0, 8};
    static constexpr Misc::BitField ENABLED{"ENABLED", 0, 8, 1};
    static constexpr std::array ALL{PHYO_IDX, ENABLED};
};

/// A row of the PHYS OUT MAP: the physical output of one TSO. The TSO is the row's position and not stored in it. The
/// setters raise ZebDriverError, the entry unchanged, for a value outside the range.
class PhysOutEntry final : public Misc::FieldEntry<1, PhysOutFields::ALL>
{
public:
    static constexpr uint32_t MAX_PHYO_IDX = 31;

    /// A stuffing row of TSO 255.
    PhysOutEntry() { setStuffing(); }
    /// The stuffing row of a TSO.
    explicit PhysOutEntry(uint32_t tsoIdx);
    PhysOutEntry(uint32_t tsoIdx, uint32_t phyOIdx, bool enabled);

    /// TSOidx 255, PHYOidx 255 (which no setter accepts), disabled.
    void setStuffing() override;

    void setTSOidx(uint32_t tsoIdx);   ///< 0..255
    void setPHYOidx(uint32_t phyOIdx); ///< 0..31
    void setEnabled(bool enabled) { setValue<F::ENABLED>(enabled); }

    uint8_t getTSOidx() const { return m_TSOidx; }
    uint8_t getPHYOidx() const { return value<F::PHYO_IDX>(); }
    bool isEnabled() const { return value<F::ENABLED>(); }

private:
    using F = PhysOutFields;

    uint8_t m_TSOidx = 0;
};

} // namespace Osl::Drivers::Zeb
