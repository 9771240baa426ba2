#include <osl/userspace_drivers/drivers/zeb/ts/rangecheck.h>
#include <osl/userspace_drivers/drivers/zeb/ts/tsimapentry.h>

namespace Osl::Drivers::Zeb {
namespace {

/// One text for both indices, as users know it.
constexpr const char* SET_FAILURE = "Cannot set TSIidx - invalid TSIidx given (";

} // namespace

TsiMapEntry::TsiMapEntry(uint32_t tsiIdx)
{
    setStuffing();
    putTSIidx(tsiIdx, "Cannot create TsiMapEntry - invalid TSIidx (");
}

TsiMapEntry::TsiMapEntry(uint32_t tsiIdx, uint32_t pidIdx, bool enabled)
{
    putTSIidx(tsiIdx, "Cannot create TsiMapEntry - invalid TSIidx (");
    putPIDidx(pidIdx, "Cannot create TsiMapEntry - invalid PIDidx (");
    setEnabled(enabled);
}

void TsiMapEntry::setStuffing()
{
    setTSIidx(255);
    setPIDidx(4095);
    setEnabled(false);
}

void TsiMapEntry::setTSIidx(uint32_t tsiIdx) { putTSIidx(tsiIdx, SET_FAILURE); }

void TsiMapEntry::setPIDidx(uint32_t pidIdx) { putPIDidx(pidIdx, SET_FAILURE); }

void TsiMapEntry::putTSIidx(uint32_t tsiIdx, const char* failure)
{
    m_TSIidx = static_cast<uint8_t>(inRange(tsiIdx, 0, 255, failure));
}

void TsiMapEntry::putPIDidx(uint32_t pidIdx, const char* failure)
{
    setValue<F::PID_IDX>(inRange(pidIdx, 1, F::PID_IDX.max(), failure));
}

} // namespace Osl::Drivers::Zeb
