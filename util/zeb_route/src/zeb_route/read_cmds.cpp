#include "zeb_route/read_cmds.h"

#include "zeb_route/sources.h"

#include <osl/zeb_routing/check.h>
#include <osl/zeb_routing/graph.h>
#include <osl/zeb_routing/json.h>
#include <osl/zeb_routing/text.h>
#include <osl/zeb_routing/trace.h>

#include <algorithm>
#include <array>

namespace Osl::ZebRoute {
namespace {

using namespace ZebRouting;

/// The word at `index`, or the board.
std::string sourceName(const Settings& settings, std::size_t index)
{
    return index < settings.words.size() ? settings.words[index] : LIVE;
}

constexpr Argument rowsOption(const char* help)
{
    return {.name = "--rows",
            .value = "",
            .kind = Argument::Kind::FLAG,
            .help = help,
            .flag = &Settings::rows,
            .excludes = "--json"};
}

constexpr Argument SOURCE{.name = "SOURCE",
                          .value = "",
                          .kind = Argument::Kind::WORDS,
                          .help = "`live` (default), a file, or - for standard input",
                          .offer = Argument::Offer::SOURCES,
                          .words = &Settings::words,
                          .least = 0,
                          .most = 1};

int show(const Settings& settings, Surroundings& around)
{
    const Source source = readSource(sourceName(settings, 0));
    if (settings.json)
        around.print(toJson(source.routing));
    else
        around.print(settings.rows ? rowText(source.tables) : toText(source.routing));
    return DONE;
}

int diff(const Settings& settings, Surroundings& around)
{
    const std::string from = sourceName(settings, 0);
    const std::string to = sourceName(settings, 1);
    if (from == STANDARD_INPUT && to == STANDARD_INPUT)
        OSL_RAISE(UsageError, "only one of the two sources can be standard input");
    const Source first = readSource(from);
    const Source second = readSource(to);
    if (settings.rows) {
        const std::string lines = rowDifference(first.tables, second.tables);
        around.print(lines);
        return lines.empty() ? DONE : SOMETHING_TO_SAY;
    }
    const Difference difference = ZebRouting::difference(first.routing, second.routing);
    around.print(settings.json ? toJson(difference) : toText(difference));
    return difference.empty() ? DONE : SOMETHING_TO_SAY;
}

int check(const Settings& settings, Surroundings& around)
{
    const std::vector<Finding> findings = ZebRouting::check(readSource(sourceName(settings, 0)));
    around.print(settings.json ? toJson(findings) : toText(findings));
    const bool onlyNotes = std::all_of(findings.begin(), findings.end(), [](const Finding& f) { return f.note; });
    return onlyNotes ? DONE : SOMETHING_TO_SAY;
}

int traceBackward(const Settings& settings, Surroundings& around)
{
    const TsoPid wanted = parseTraceOutput(settings.to);
    if (settings.words.size() > 1)
        OSL_RAISE(UsageError, "trace --to takes one SOURCE; see `zeb_route trace --help`");
    const BackTrace origins = traceBack(readSource(sourceName(settings, 0)), wanted.tso, wanted.pid);
    around.print(settings.json ? toJson(origins) : toText(origins));
    return origins.from.empty() ? SOMETHING_TO_SAY : DONE;
}

int trace(const Settings& settings, Surroundings& around)
{
    if (!settings.to.empty())
        return traceBackward(settings, around);
    if (settings.words.empty())
        OSL_RAISE(UsageError, "trace needs TSI:PID or --to TSO[:PID]; see `zeb_route trace --help`");
    const Selector packets = parseTracePacket(settings.words[0]);
    const Trace steps = ZebRouting::trace(readSource(sourceName(settings, 1)), packets.tsi, packets.pid);
    around.print(settings.json ? toJson(steps) : toText(steps));
    return steps.dropped.empty() ? DONE : SOMETHING_TO_SAY;
}

int graph(const Settings& settings, Surroundings& around)
{
    around.print(toGraph(readSource(sourceName(settings, 0)).routing));
    return DONE;
}

constexpr std::array SHOW_ARGUMENTS{SOURCE, JSON_OPTION,
                                    rowsOption("Print every row in use of every table instead, one a line, exactly")};
constexpr std::array DIFF_ARGUMENTS{Argument{.name = "SOURCES",
                                             .value = "",
                                             .kind = Argument::Kind::WORDS,
                                             .help = "A and B, as for `show`; B is `live` when it is not given",
                                             .offer = Argument::Offer::SOURCES,
                                             .words = &Settings::words,
                                             .least = 1,
                                             .most = 2},
                                    JSON_OPTION, rowsOption("Compare the rows of the tables instead, exactly")};
constexpr std::array CHECK_ARGUMENTS{SOURCE, JSON_OPTION};
constexpr std::array TRACE_ARGUMENTS{
    Argument{.name = "WORDS",
             .value = "",
             .kind = Argument::Kind::WORDS,
             .help = "TSI:PID, then optionally a SOURCE as for `show`; after --to the SOURCE alone",
             .offer = Argument::Offer::PACKETS,
             .words = &Settings::words,
             .least = 0,
             .most = 2},
    Argument{.name = "--to",
             .value = "TSO[:PID]",
             .kind = Argument::Kind::WORD,
             .help = "Say what leaves there instead, and where it comes from",
             .offer = Argument::Offer::OUTPUTS,
             .word = &Settings::to},
    JSON_OPTION};
constexpr std::array GRAPH_ARGUMENTS{SOURCE};

} // namespace

const Command SHOW{.name = "show",
                   .summary = "Show a routing as statements, one a line",
                   .details = "The text that is printed is a SOURCE again.",
                   .arguments = SHOW_ARGUMENTS,
                   .run = &show};
const Command DIFF{.name = "diff",
                   .summary = "Show what leads from one routing to another",
                   .details = "Prints a line with - for each fact of A alone, then one with + for each fact of B "
                              "alone. Exit status 1: they differ.",
                   .arguments = DIFF_ARGUMENTS,
                   .run = &diff};
const Command CHECK{.name = "check",
                    .summary = "Look for what may be wrong with a routing",
                    .details = "Prints a finding a line. Exit status 1: there are findings other than notes.",
                    .arguments = CHECK_ARGUMENTS,
                    .run = &check};
const Command TRACE{.name = "trace",
                    .summary = "Follow a packet to where it leaves, or back to where it comes from",
                    .details = "Exit status 1: the packet gets nowhere, or nothing leaves there.",
                    .arguments = TRACE_ARGUMENTS,
                    .run = &trace};
const Command GRAPH{.name = "graph",
                    .summary = "Draw a routing, in the language of Graphviz",
                    .details = "For a picture: zeb_route graph | dot -Tsvg >routing.svg",
                    .arguments = GRAPH_ARGUMENTS,
                    .run = &graph};

} // namespace Osl::ZebRoute
