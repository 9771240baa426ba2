#pragma once

#include <osl/userspace_drivers/drivers_misc/fieldentry.h>

namespace Osl::Drivers::Zeb {

struct TsiMapFields
{
    static constexpr Misc::BitField PID_IDX{"PIDidx", 0, 0, 12};
    static constexpr Misc::BitField ENABLED{"ENABLED", 0, 12, 1};
    static constexpr std::array ALL{PID_IDX, ENABLED};
};

/// A row of the TSI MAP: the PIDidx of a whole TSI. The TSI is the row's position and not stored in it. The setters
/// raise ZebDriverError, the entry unchanged, for a value outside the range.
class TsiMapEntry final : public Misc::FieldEntry<1, TsiMapFields::ALL>
{
public:
    /// A stuffing row of TSI 255.
    TsiMapEntry() { setStuffing(); }
    /// The stuffing row of a TSI.
    explicit TsiMapEntry(uint32_t tsiIdx);
    TsiMapEntry(uint32_t tsiIdx, uint32_t pidIdx, bool enabled);

    /// TSIidx 255, PIDidx 4095, disabled.
    void setStuffing() override;

    void setTSIidx(uint32_t tsiIdx); ///< 0..255
    void setPIDidx(uint32_t pidIdx); ///< 1..4095
    void setEnabled(bool enabled) { setValue<F::ENABLED>(enabled); }

    uint8_t getTSIidx() const { return m_TSIidx; }
    uint16_t getPIDidx() const { return value<F::PID_IDX>(); }
    bool isEnabled() const { return value<F::ENABLED>(); }

private:
    using F = TsiMapFields;

    void putTSIidx(uint32_t tsiIdx, const char* failure);
    void putPIDidx(uint32_t pidIdx, const char* failure);

    uint8_t m_TSIidx = 0;
};

} // namespace Osl::Drivers::Zeb
