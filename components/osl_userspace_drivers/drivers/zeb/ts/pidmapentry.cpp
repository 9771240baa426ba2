#include <osl/userspace_drivers/drivers/drivererror.h>
#include <osl/userspace_drivers/drivers/zeb/ts/pidmapentry.h>
#include <osl/userspace_drivers/drivers/zeb/ts/rangecheck.h>

#include <fmt/format.h>

namespace Osl::Drivers::Zeb {
namespace {

constexpr uint32_t MAX_PID_IDX = 4095;

} // namespace

PidMapEntry::PidMapEntry(uint32_t pidIdx)
{
    setStuffing();
    putPIDidx(pidIdx, "Cannot create PidMapEntry - invalid PIDidx (");
}

PidMapEntry::PidMapEntry(uint32_t pidIdx, uint32_t tsoIdx, uint32_t nextPidIdx, uint32_t remapPid, bool remap,
                         bool enabled)
{
    putPIDidx(pidIdx, "Cannot create PidMapEntry - invalid PIDidx (");
    putTSOidx(tsoIdx, "Cannot create PidMapEntry - invalid TSOidx (");
    setNextPIDidx(nextPidIdx);
    putRemapPID(remapPid, "Cannot create PidMapEntry - invalid PID value (");
    setRemap(remap);
    setEnabled(enabled);
}

void PidMapEntry::setStuffing()
{
    setPIDidx(MAX_PID_IDX);
    setTSOidx(255);
    setNextPIDidx(0);
    setRemapPID(8191);
    setRemap(false);
    setEnabled(false);
}

bool PidMapEntry::deserialize()
{
    setPIDidx(MAX_PID_IDX);
    return FieldEntry::deserialize();
}

void PidMapEntry::setPIDidx(uint32_t pidIdx) { putPIDidx(pidIdx, "Cannot set PIDix - invalid PIDidx ("); }

void PidMapEntry::setTSOidx(uint32_t tsoIdx) { putTSOidx(tsoIdx, "Cannot set TSOidx - invalid TSOidx ("); }

void PidMapEntry::setNextPIDidx(uint32_t nextPidIdx)
{
    static constexpr const char* FAILURE = "Cannot set NEXT PIDIX - invalid NEXT_PIDidx value (";
    if (nextPidIdx == m_PIDidx)
        OSL_RAISE(ZebDriverError, fmt::format("{}{})", FAILURE, nextPidIdx));
    setValue<F::NEXT_PID_IDX>(inRange(nextPidIdx, 0, F::NEXT_PID_IDX.max(), FAILURE));
}

void PidMapEntry::setRemapPID(uint32_t remapPid)
{
    putRemapPID(remapPid, "Cannot set remap PID value - invalid PID value (");
}

void PidMapEntry::putPIDidx(uint32_t pidIdx, const char* failure)
{
    m_PIDidx = static_cast<uint16_t>(inRange(pidIdx, 1, MAX_PID_IDX, failure));
}

void PidMapEntry::putTSOidx(uint32_t tsoIdx, const char* failure)
{
    setValue<F::TSO_IDX>(inRange(tsoIdx, 0, F::TSO_IDX.max(), failure));
}

void PidMapEntry::putRemapPID(uint32_t remapPid, const char* failure)
{
    setValue<F::REMAP_PID>(inRange(remapPid, 0, F::REMAP_PID.max(), failure));
    setRemap(true);
}

} // namespace Osl::Drivers::Zeb
