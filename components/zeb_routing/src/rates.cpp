#include "lines.h"

#include <osl/ts_basics/ll_tspackets.h>
#include <osl/userspace_drivers/drivers/zeb/ts/tablelayout.h>
#include <osl/zeb_routing/rates.h>
#include <osl/zeb_routing/trace.h>

#include <nlohmann/json.hpp>

#include <chrono>
#include <cmath>

namespace Osl::ZebRouting {
namespace {

using Drivers::Zeb::PacketCounters;
using Drivers::Zeb::STATUS_COUNT;

/// All that tells TSIs from TSOs here.
struct Side
{
    const char* word;
    const char* key;
    const char* array; ///< in JSON
    const char* preposition;
    const char* help;
    uint32_t firstCounter;
    std::vector<Rate> Rates::*rates;
    std::vector<std::string> (*names)(const Routing& routing, uint8_t index);
};

const Side SIDES[]{
    {"TSI", "tsi", "inputs", "from", "Rate of a transport stream input", Drivers::Zeb::TSI_BITRATE_BASE, &Rates::inputs,
     &inputNames},
    {"TSO", "tso", "outputs", "to", "Rate of a transport stream output", Drivers::Zeb::TSO_BITRATE_BASE,
     &Rates::outputs, &outputNames},
};

double inSeconds(PacketCounters::Clock::duration time) { return std::chrono::duration<double>(time).count(); }

uint64_t rounded(double bitsPerSecond) { return static_cast<uint64_t>(std::llround(bitsPerSecond)); }

std::string withUnit(double bitsPerSecond)
{
    if (bitsPerSecond >= 1e6)
        return fmt::format("{:.2f} Mbit/s", bitsPerSecond / 1e6);
    if (bitsPerSecond >= 1e3)
        return fmt::format("{:.2f} kbit/s", bitsPerSecond / 1e3);
    return fmt::format("{:.2f} bit/s", bitsPerSecond);
}

} // namespace

void countEverything(PacketCounters& counters)
{
    for (const Side& side : SIDES)
        for (uint32_t index = 0; index < STATUS_COUNT; ++index)
            counters.add(side.firstCounter + index);
}

Rates ratesOf(const PacketCounters& counters, const Routing& routing)
{
    constexpr double PACKET_BITS = 8.0 * Ts::TS_SIZE;
    Rates rates{.seconds = inSeconds(counters.elapsed(0)), .inputs = {}, .outputs = {}};
    std::size_t counter = 0;
    for (const Side& side : SIDES) {
        for (uint32_t number = 0; number < STATUS_COUNT; ++number, ++counter) {
            const auto index = static_cast<uint8_t>(number);
            const double seconds = inSeconds(counters.elapsed(counter));
            if (counters.packets(counter) == 0 || seconds <= 0)
                continue;
            const double bits = static_cast<double>(counters.packets(counter)) * PACKET_BITS;
            (rates.*side.rates).push_back({index, bits / seconds, side.names(routing, index)});
        }
    }
    return rates;
}

std::string toText(const Rates& rates)
{
    Lines lines;
    for (const Side& side : SIDES)
        for (const auto& [index, bitsPerSecond, names] : rates.*side.rates)
            lines.add("{} {}: {}{}", side.word, index, withUnit(bitsPerSecond),
                      names.empty() ? "" : fmt::format(" {} {}", side.preposition, fmt::join(names, ", ")));
    return lines.text();
}

std::string toJson(const Rates& rates)
{
    nlohmann::ordered_json json{{"seconds", rates.seconds}};
    for (const Side& side : SIDES) {
        auto& array = json[side.array] = nlohmann::ordered_json::array();
        for (const auto& [index, bitsPerSecond, names] : rates.*side.rates)
            array.push_back({{side.key, index}, {"bits_per_second", rounded(bitsPerSecond)}, {"names", names}});
    }
    return json.dump() + '\n';
}

std::string toPrometheus(const Rates& rates)
{
    Lines lines;
    for (const Side& side : SIDES) {
        const std::string metric = fmt::format("zeb_{}_bits_per_second", side.key);
        lines.add("# HELP {} {}.", metric, side.help);
        lines.add("# TYPE {} gauge", metric);
        for (const auto& [index, bitsPerSecond, names] : rates.*side.rates)
            lines.add("{}{{{}=\"{}\",names=\"{}\"}} {}", metric, side.key, index, fmt::join(names, ","),
                      rounded(bitsPerSecond));
    }
    return lines.text();
}

} // namespace Osl::ZebRouting
