#pragma once

#include <osl/userspace_drivers/drivers_misc/fieldentry.h>

namespace Osl::Drivers::Zeb {

struct PidMapFields
{
    static constexpr Misc::BitField TSO_IDX{"TSOidx", 0, 0, 8};
    static constexpr Misc::BitField REMAP_PID{"remap PID", 0, 8, 13};
    static constexpr Misc::BitField REMAP{"REMAP", 0, 21, 1};
    static constexpr Misc::BitField ENABLED{"ENABLED", 0, 22, 1};
    static constexpr Misc::BitField NEXT_PID_IDX{"NEXT_PIDidx", 1, 0, 12};
    static constexpr std::array ALL{TSO_IDX, REMAP_PID, REMAP, ENABLED, NEXT_PID_IDX};
};

/// A row of the O-PID MAP: the output of one PIDidx, and the PIDidx that gets the next copy. The PIDidx is the row's
/// position and not stored in it. The setters raise ZebDriverError, the entry unchanged, for a value outside the range.
class PidMapEntry final : public Misc::FieldEntry<2, PidMapFields::ALL>
{
public:
    /// A stuffing row of PIDidx 4095.
    PidMapEntry() { setStuffing(); }
    /// The stuffing row of a PIDidx.
    explicit PidMapEntry(uint32_t pidIdx);
    PidMapEntry(uint32_t pidIdx, uint32_t tsoIdx, uint32_t nextPidIdx, uint32_t remapPid, bool remap, bool enabled);

    /// PIDidx 4095, TSOidx 255, end of list, remap PID 8191, no remapping, disabled.
    void setStuffing() override;
    /// Leaves PIDidx 4095; the reader that knows the row sets its own.
    bool deserialize() override;

    void setPIDidx(uint32_t pidIdx);         ///< 1..4095
    void setTSOidx(uint32_t tsoIdx);         ///< 0..255
    void setNextPIDidx(uint32_t nextPidIdx); ///< 0 (end of list)..4095, but not the row's own PIDidx
    void setRemapPID(uint32_t remapPid);     ///< 0..8191; switches remapping on
    void setRemap(bool remap) { setValue<F::REMAP>(remap); }
    void setEnabled(bool enabled) { setValue<F::ENABLED>(enabled); }

    uint16_t getPIDidx() const { return m_PIDidx; }
    uint8_t getTSOidx() const { return value<F::TSO_IDX>(); }
    uint16_t getNextPIDidx() const { return value<F::NEXT_PID_IDX>(); }
    uint16_t getRemapPID() const { return value<F::REMAP_PID>(); }
    bool isRemap() const { return value<F::REMAP>(); }
    bool isEnabled() const { return value<F::ENABLED>(); }

private:
    using F = PidMapFields;

    void putPIDidx(uint32_t pidIdx, const char* failure);
    void putTSOidx(uint32_t tsoIdx, const char* failure);
    void putRemapPID(uint32_t remapPid, const char* failure);

    uint16_t m_PIDidx = 0;
};

} // namespace Osl::Drivers::Zeb
