#include "ports.h"

#include <osl/cpputils/stringutils.h>
#include <osl/userspace_drivers/drivers/zeb/ts/physoutentry.h>
#include <osl/userspace_drivers/drivers/zeb/ts/port_names.h>
#include <osl/userspace_drivers/drivers/zeb/ts/tablelayout.h>

#include <algorithm>
#include <utility>

namespace Osl::ZebRouting {
namespace {

constexpr std::string_view NAMELESS = "phys";

std::vector<std::string> byIndex(const Drivers::Zeb::PortNames& ports)
{
    std::vector<std::string> names;
    for (const auto& [name, index] : ports) {
        names.resize(std::max<std::size_t>(names.size(), index + 1));
        names[index] = name;
    }
    return names;
}

} // namespace

PortNaming::PortNaming(std::vector<std::string> names, uint32_t end) : m_Names(std::move(names)), m_End(end) {}

std::string PortNaming::nameOf(uint32_t index) const
{
    if (index < m_Names.size() && !m_Names[index].empty())
        return m_Names[index];
    return std::string(NAMELESS) + std::to_string(index);
}

std::optional<uint8_t> PortNaming::find(std::string_view name) const
{
    const auto named = name.empty() ? m_Names.end() : std::find(m_Names.begin(), m_Names.end(), name);
    if (named != m_Names.end())
        return static_cast<uint8_t>(named - m_Names.begin());
    if (!name.starts_with(NAMELESS))
        return std::nullopt;
    const auto index = CppUtil::parseUint32(name.substr(NAMELESS.size()));
    return index && *index < m_End ? std::optional(static_cast<uint8_t>(*index)) : std::nullopt;
}

const PortNaming& inputPorts()
{
    static const PortNaming PORTS(byIndex(Drivers::Zeb::physicalInputs()), Drivers::Zeb::PHYS_IN_MAP.rows);
    return PORTS;
}

const PortNaming& outputPorts()
{
    static const PortNaming PORTS(byIndex(Drivers::Zeb::physicalOutputs()),
                                  Drivers::Zeb::PhysOutEntry::MAX_PHYO_IDX + 1);
    return PORTS;
}

} // namespace Osl::ZebRouting
