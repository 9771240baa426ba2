#pragma once

#include <osl/zeb_routing/facts.h>

#include <cstdint>
#include <vector>

/// The words of single rows.
namespace Osl::ZebRouting {

using RowCopy = std::vector<uint32_t>;

/// A row of the O-PID MAP; `next` is 0 at the end of the list.
RowCopy listRow(Destination to, uint16_t next);

/// A row of the TSI MAP.
RowCopy tsiRow(uint16_t list);

/// What a row of the PID LUT does with its packets.
struct PidActions
{
    bool outRoute;
    bool cpuRoute;
    uint16_t list;
    uint8_t filter;
};
RowCopy pidRow(const Selector& packets, const PidActions& actions);

} // namespace Osl::ZebRouting
