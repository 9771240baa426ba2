#include <osl/userspace_drivers/drivers/zeb/ts/pidlutentry.h>
#include <osl/userspace_drivers/drivers/zeb/ts/rangecheck.h>

namespace Osl::Drivers::Zeb {

PidLutEntry::PidLutEntry(uint32_t tsiIdx, uint32_t pid, uint32_t pidIdx, uint32_t filtTabIdx, bool outRoute,
                         bool cpuRoute)
{
    setTSIIDX(tsiIdx);
    setPID(pid);
    setPIDIDX(pidIdx);
    setFiltTabIDX(filtTabIdx);
    setOutRoute(outRoute);
    setCpuRoute(cpuRoute);
}

void PidLutEntry::setStuffing()
{
    setTSIIDX(255);
    setPID(8191);
    setPIDIDX(4095);
    setFiltTabIDX(255);
    setOutRoute(false);
    setCpuRoute(false);
}

void PidLutEntry::setTSIIDX(uint32_t tsiIdx)
{
    setValue<F::TSIIDX>(inRange(tsiIdx, 0, F::TSIIDX.max(), "PidLutEntry created/modified with invalid TSIIDX ("));
}

void PidLutEntry::setPID(uint32_t pid)
{
    setValue<F::PID>(inRange(pid, 0, F::PID.max(), "PidLutEntry created/modified with invalid PID ("));
}

void PidLutEntry::setPIDIDX(uint32_t pidIdx)
{
    setValue<F::PIDIDX>(inRange(pidIdx, 1, F::PIDIDX.max(), "PidLutEntry created/modified with invalid PIDIDX ("));
}

void PidLutEntry::setFiltTabIDX(uint32_t filtTabIdx)
{
    setValue<F::FILT_TAB_IDX>(
        inRange(filtTabIdx, 0, F::FILT_TAB_IDX.max(), "PidLutEntry created/modified with invalid FiltTabIDX ("));
}

bool PidLutEntry::operator==(const PidLutEntry& other) const
{
    return getTSIIDX() == other.getTSIIDX() && getPID() == other.getPID() && getPIDIDX() == other.getPIDIDX() &&
           isCpuRoute() == other.isCpuRoute() && getFiltTabIDX() == other.getFiltTabIDX();
}

} // namespace Osl::Drivers::Zeb
