#pragma once

#include <osl/userspace_drivers/drivers_misc/fieldentry.h>

namespace Osl::Drivers::Zeb {

struct PidLutFields
{
    static constexpr Misc::BitField PID{"PID", 0, 0, 13};
    static constexpr Misc::BitField TSIIDX{"TSIIDX", 0, 13, 8};
    static constexpr Misc::BitField PIDIDX{"PIDIDX", 1, 0, 12};
    static constexpr Misc::BitField OUT_ROUTE{"OUT_ROUTE", 1, 12, 1};
    static constexpr Misc::BitField CPU_ROUTE{"CPU_ROUTE", 1, 13, 1};
    static constexpr Misc::BitField FILT_TAB_IDX{"FiltTabIDX", 1, 24, 8};
    static constexpr std::array ALL{PID, TSIIDX, PIDIDX, OUT_ROUTE, CPU_ROUTE, FILT_TAB_IDX};
};

/// A row of the PID LUT: where the packets of one (TSI, PID) go. Every setter raises ZebDriverError, the entry
/// unchanged, for a value outside its range.
class PidLutEntry final : public Misc::FieldEntry<2, PidLutFields::ALL>
{
public:
    /// A stuffing row, which routes nothing.
    PidLutEntry() { setStuffing(); }
    PidLutEntry(uint32_t tsiIdx, uint32_t pid, uint32_t pidIdx, uint32_t filtTabIdx, bool outRoute, bool cpuRoute);

    /// TSIIDX 255, PID 8191, PIDIDX 4095, FiltTabIDX 255, no route.
    void setStuffing() override;

    void setTSIIDX(uint32_t tsiIdx);         ///< 0..255
    void setPID(uint32_t pid);               ///< 0..8191
    void setPIDIDX(uint32_t pidIdx);         ///< 1..4095; 0 would end a replication list
    void setFiltTabIDX(uint32_t filtTabIdx); ///< 0..255; 255: no filter
    void setOutRoute(bool outRoute) { setValue<F::OUT_ROUTE>(outRoute); }
    void setCpuRoute(bool cpuRoute) { setValue<F::CPU_ROUTE>(cpuRoute); }

    uint8_t getTSIIDX() const { return value<F::TSIIDX>(); }
    uint16_t getPID() const { return value<F::PID>(); }
    uint16_t getPIDIDX() const { return value<F::PIDIDX>(); }
    uint8_t getFiltTabIDX() const { return value<F::FILT_TAB_IDX>(); }
    bool isOutRoute() const { return value<F::OUT_ROUTE>(); }
    bool isCpuRoute() const { return value<F::CPU_ROUTE>(); }

    /// Deliberately leaves OUT_ROUTE out: a stuffing row with only that flag still counts as stuffing.
    bool operator==(const PidLutEntry& other) const;

private:
    using F = PidLutFields;
};

} // namespace Osl::Drivers::Zeb
