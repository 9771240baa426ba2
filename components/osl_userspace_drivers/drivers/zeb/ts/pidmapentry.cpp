#include <osl/userspace_drivers/drivers/zeb/ts/pidmapentry.h>

#include <string>

namespace Osl::Drivers::Zeb {

bool PidMapEntry::deserialize()
{
    setPosition(FIELD<"PIDidx">.stuffing);
    return FieldEntry::deserialize();
}

void PidMapEntry::setNextPIDidx(uint32_t nextPidIdx)
{
    if (nextPidIdx == position()) // a row that leads to itself
        refuse(FIELD<"NEXT_PIDidx">.refusal, std::to_string(nextPidIdx));
    set<"NEXT_PIDidx">(nextPidIdx);
}

} // namespace Osl::Drivers::Zeb
