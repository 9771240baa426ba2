#include <osl/cpputils/assertion.h>
#include <osl/linutils/attribute_file.h>
#include <osl/userspace_drivers/drivers/zeb/attr/mcnotlut.h>
#include <osl/userspace_drivers/drivers/zeb/zeb_attributes.h>

#include <algorithm>
#include <utility>

namespace Osl::Drivers::Zeb {

McNotLut::McNotLut(LinuxCppUtil::LockPatience patience) : m_Patience(std::move(patience)) {}

std::vector<uint32_t> McNotLut::read() const
{
    const uint32_t size = LinuxCppUtil::readAttributeSize(MCNOTLUT_SIZE_ATTRIBUTE);
    std::vector<uint32_t> table(size);
    const std::size_t ret = LinuxCppUtil::readAttributeWords(MCNOTLUT_ATTRIBUTE, table);
    OSL_ASSERT(ret > 0 && ((uint32_t)ret == size * 4));
    return table;
}

bool McNotLut::add(CppUtil::IpAdrContainer address)
{
    const LinuxCppUtil::AttributeLock lock(MCNOTLUT_ATTRIBUTE, m_Patience);
    std::vector<uint32_t> table = read();
    if (std::find(table.begin(), table.end(), address.value()) == table.end()) {
        const auto vacant = std::find(table.rbegin(), table.rend(), VACANT);
        if (vacant == table.rend())
            return false;
        *vacant = address.value();
    }
    write(table);
    return true;
}

bool McNotLut::clear(CppUtil::IpAdrContainer address)
{
    const LinuxCppUtil::AttributeLock lock(MCNOTLUT_ATTRIBUTE, m_Patience);
    std::vector<uint32_t> table = read();
    const auto entry = std::find(table.rbegin(), table.rend(), address.value());
    if (entry == table.rend())
        return false;
    *entry = VACANT;
    write(table);
    return true;
}

void McNotLut::write(const std::vector<uint32_t>& table) const
{
    LinuxCppUtil::writeAttributeTable(MCNOTLUT_ATTRIBUTE, table);
}

} // namespace Osl::Drivers::Zeb
