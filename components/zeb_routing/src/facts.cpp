#include "faults.h"
#include "ports.h"

#include <osl/cpputils/netaddress.h>
#include <osl/zeb_routing/facts.h>

#include <fmt/format.h>

#include <algorithm>
#include <iterator>

namespace Osl::ZebRouting {
namespace {

std::string nameOf(const Endpoint& at, const PortNaming& ports)
{
    if (at.isPort)
        return ports.nameOf(at.number);
    return fmt::format("{}:{}", CppUtil::IpAdrContainer(at.address).toString(), at.number);
}

template <class Fact>
std::vector<Fact> onlyInFirst(const std::vector<Fact>& first, const std::vector<Fact>& second)
{
    std::vector<Fact> rest;
    std::set_difference(first.begin(), first.end(), second.begin(), second.end(), std::back_inserter(rest));
    return rest;
}

} // namespace

std::string inputName(const Endpoint& at) { return nameOf(at, inputPorts()); }
std::string outputName(const Endpoint& at) { return nameOf(at, outputPorts()); }

std::string toString(const Mac& mac)
{
    return fmt::format("{:02x}:{:02x}:{:02x}:{:02x}:{:02x}:{:02x}", mac[0], mac[1], mac[2], mac[3], mac[4], mac[5]);
}

std::optional<Mac> multicastMac(uint32_t address)
{
    const CppUtil::IpAdrContainer ip(address);
    if (!ip.isMulticast())
        return std::nullopt;
    return macOf(CppUtil::MacAdrContainer(ip));
}

std::string toString(const Selector& packets)
{
    return packets.isWholeTsi() ? fmt::format("{}:*", packets.tsi)
                                : fmt::format("{}:0x{:04x}", packets.tsi, packets.pid);
}

Difference difference(const Routing& from, const Routing& to)
{
    Difference difference;
    forEachKind([&](auto facts) {
        difference.removed.*facts = onlyInFirst(from.*facts, to.*facts);
        difference.added.*facts = onlyInFirst(to.*facts, from.*facts);
    });
    if (!from.hasFilters || !to.hasFilters) {
        for (Routing* side : {&difference.removed, &difference.added}) {
            side->filters.clear();
            side->hasFilters = false;
        }
    }
    return difference;
}

} // namespace Osl::ZebRouting
