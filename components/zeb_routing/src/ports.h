#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Osl::ZebRouting {

/// Names of the physical ports of one direction. A port that has none goes by "phys" and its index.
class PortNaming
{
public:
    /// `names` by index, "" for none; ports from `end` on cannot be set.
    PortNaming(std::vector<std::string> names, uint32_t end);

    uint32_t end() const { return m_End; }
    std::string nameOf(uint32_t index) const;
    /// nullopt for a word that is no port below end().
    std::optional<uint8_t> find(std::string_view name) const;
    /// By index; "" for none.
    const std::vector<std::string>& names() const { return m_Names; }

private:
    std::vector<std::string> m_Names;
    uint32_t m_End;
};

const PortNaming& inputPorts();
const PortNaming& outputPorts();

} // namespace Osl::ZebRouting
