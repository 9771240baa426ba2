#include "zeb_route/rates_cmd.h"

#include "zeb_route/board.h"

#include <osl/cpputils/append_format.h>
#include <osl/ts_basics/bit_rate.h>
#include <osl/userspace_drivers/drivers/zeb/ts/counters/packetcounters.h>
#include <osl/userspace_drivers/drivers/zeb/ts/tablelayout.h>

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <thread>

namespace Osl::ZebRoute {
namespace {

using namespace ZebRouting;
using Drivers::Zeb::PacketCounters;
using Drivers::Zeb::STATUS_COUNT;
using Clock = PacketCounters::Clock;
using std::chrono::milliseconds;

constexpr double BITS_PER_PACKET = 188 * 8;
/// Often enough for the counters, and for Ctrl-C to feel immediate.
constexpr milliseconds NAP{20};

/// What was counted at one stream input or output.
struct Rate
{
    uint32_t index;
    double bitsPerSecond;
    std::vector<std::string> names; ///< what feeds it, or where it goes
};

/// Reads the counters until the time is over or the user has enough.
void countFor(milliseconds interval, PacketCounters& counters, const Surroundings& around)
{
    counters.start();
    const Clock::time_point end = Clock::now() + interval;
    for (Clock::time_point now = Clock::now(); now < end && !around.stopRequested(); now = Clock::now()) {
        std::this_thread::sleep_for(std::min<Clock::duration>(NAP, end - now));
        counters.read();
    }
}

/// The streams that counted, or have a name. `first` is the running number of the first one's counter.
std::vector<Rate> ratesOf(const PacketCounters& counters, std::size_t first,
                          std::array<std::vector<std::string>, STATUS_COUNT> names)
{
    std::vector<Rate> rates;
    for (uint32_t index = 0; index < STATUS_COUNT; ++index) {
        const double seconds = std::chrono::duration<double>(counters.elapsed(first + index)).count();
        const auto packets = static_cast<double>(counters.packets(first + index));
        if (packets > 0 || !names[index].empty())
            rates.push_back({index, seconds > 0 ? packets * BITS_PER_PACKET / seconds : 0, std::move(names[index])});
    }
    return rates;
}

struct Measurement
{
    double seconds;
    std::vector<Rate> inputs;  ///< by TSI
    std::vector<Rate> outputs; ///< by TSO
};

Measurement measure(Board& board, const Routing& routing, milliseconds interval, const Surroundings& around)
{
    PacketCounters counters(board.pid);
    for (const uint32_t base : {Drivers::Zeb::TSI_BITRATE_BASE, Drivers::Zeb::TSO_BITRATE_BASE})
        for (uint32_t index = 0; index < STATUS_COUNT; ++index)
            counters.add(base + index);
    countFor(interval, counters, around);

    std::array<std::vector<std::string>, STATUS_COUNT> inputs;
    for (const Input& input : routing.inputs)
        inputs[input.tsi].push_back(inputName(input.from));
    std::array<std::vector<std::string>, STATUS_COUNT> outputs;
    for (const Output& output : routing.outputs)
        if (output.enabled)
            outputs[output.tso].push_back(outputName(output.to));
    return {std::chrono::duration<double>(counters.elapsed(0)).count(), ratesOf(counters, 0, std::move(inputs)),
            ratesOf(counters, STATUS_COUNT, std::move(outputs))};
}

void appendText(std::string& text, const char* kind, const std::vector<Rate>& rates)
{
    for (const Rate& rate : rates)
        CppUtil::appendFormat(text, "{} {}: {}{}{}\n", kind, rate.index, Ts::bitRateText(rate.bitsPerSecond),
                              rate.names.empty() ? "" : " ", fmt::join(rate.names, " "));
}

/// Names of ports and addresses need no escapes.
std::string jsonOf(const char* index, const std::vector<Rate>& rates)
{
    std::vector<std::string> rows;
    for (const Rate& rate : rates) {
        std::vector<std::string> names;
        for (const std::string& name : rate.names)
            names.push_back('"' + name + '"');
        rows.push_back(fmt::format(R"({{"{}":{},"bits_per_second":{:.0f},"names":[{}]}})", index, rate.index,
                                   rate.bitsPerSecond, fmt::join(names, ",")));
    }
    return fmt::format("[{}]", fmt::join(rows, ","));
}

void appendPrometheus(std::string& text, const char* direction, const char* index, const std::vector<Rate>& rates)
{
    const std::string metric = fmt::format("zeb_{}_bits_per_second", direction);
    CppUtil::appendFormat(text, "# HELP {0} Bit rate of a transport-stream {1}.\n# TYPE {0} gauge\n", metric,
                          direction);
    for (const Rate& rate : rates)
        CppUtil::appendFormat(text, "{}{{{}=\"{}\",names=\"{}\"}} {:.0f}\n", metric, index, rate.index,
                              fmt::join(rate.names, " "), rate.bitsPerSecond);
}

int rates(const Settings& settings, Surroundings& around)
{
    Board board;
    Measurement measured = measure(board, board.read().routing, milliseconds(settings.intervalMs), around);
    std::string text;
    if (settings.prometheus) {
        // Also what is silent: who watches a service has to see it go to zero.
        appendPrometheus(text, "input", "tsi", measured.inputs);
        appendPrometheus(text, "output", "tso", measured.outputs);
        around.print(text);
        return DONE;
    }
    for (std::vector<Rate>* all : {&measured.inputs, &measured.outputs})
        std::erase_if(*all, [](const Rate& rate) { return rate.bitsPerSecond == 0; });
    if (settings.json) {
        text = fmt::format("{{\"seconds\":{:.3f},\"inputs\":{},\"outputs\":{}}}\n", measured.seconds,
                           jsonOf("tsi", measured.inputs), jsonOf("tso", measured.outputs));
    } else {
        appendText(text, "input", measured.inputs);
        appendText(text, "output", measured.outputs);
    }
    around.print(text);
    return DONE;
}

constexpr std::array ARGUMENTS{
    Argument{.name = "--interval",
             .value = "MS",
             .kind = Argument::Kind::NUMBER,
             .help = "Measure for so many milliseconds, or until Ctrl-C",
             .number = &Settings::intervalMs,
             .least = 1,
             .most = 86'400'000},
    JSON_OPTION,
    Argument{.name = "--prometheus",
             .value = "",
             .kind = Argument::Kind::FLAG,
             .help = "Print the text format for a node exporter's textfile collector, with what is silent as 0",
             .flag = &Settings::prometheus,
             .excludes = "--json"},
};

} // namespace

const Command RATES{.name = "rates",
                    .summary = "Measure the bit rates of all inputs and outputs that carry something",
                    .details = "Ctrl-C ends the measurement early; what was measured until then is printed.",
                    .arguments = ARGUMENTS,
                    .run = &rates};

} // namespace Osl::ZebRoute
