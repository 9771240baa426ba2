#pragma once

#include <osl/userspace_drivers/drivers/zeb/ts/counters/packetcounters.h>
#include <osl/zeb_routing/facts.h>

#include <cstdint>
#include <string>
#include <vector>

namespace Osl::ZebRouting {

/// The rate of a TSI or TSO.
struct Rate
{
    uint8_t index;
    double bitsPerSecond;
    std::vector<std::string> names; ///< what feeds it, or where it goes
};

/// The rates of all TSIs and TSOs that carried anything.
struct Rates
{
    double seconds; ///< over which they were measured
    std::vector<Rate> inputs;
    std::vector<Rate> outputs;
};

/// To be called before the counters are started: has them count every TSI and every TSO.
void countEverything(Drivers::Zeb::PacketCounters& counters);
/// What such counters have counted, with the names that the routing gives.
Rates ratesOf(const Drivers::Zeb::PacketCounters& counters, const Routing& routing);

/// "TSI 9: 3.80 Mbit/s from 239.1.1.1:1234", a TSI or TSO a line.
std::string toText(const Rates& rates);
/// {"seconds":1.0,"inputs":[{"tsi":9,"bits_per_second":3800000,"names":[…]}],"outputs":[{"tso":3,…}]}
std::string toJson(const Rates& rates);
/// Gauges in the text format that a node exporter's textfile collector reads.
std::string toPrometheus(const Rates& rates);

} // namespace Osl::ZebRouting
