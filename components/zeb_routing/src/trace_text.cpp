#include "lines.h"
#include "text_reader.h"

#include <osl/zeb_routing/trace.h>

#include <nlohmann/json.hpp>

#include <utility>

namespace Osl::ZebRouting {
namespace {

using OrderedJson = nlohmann::ordered_json;

template <class Number>
OrderedJson orNull(std::optional<Number> number)
{
    return number ? OrderedJson(*number) : OrderedJson(nullptr);
}

OrderedJson orNull(const std::string& text) { return text.empty() ? OrderedJson(nullptr) : OrderedJson(text); }

std::string document(const OrderedJson& json) { return json.dump() + '\n'; }

/// What `read` makes of a whole text.
template <class Read>
auto readArgument(std::string_view text, const Read& read)
{
    try {
        TextReader reader(text);
        auto value = read(reader);
        reader.finish();
        return value;
    } catch (const Fault& fault) {
        OSL_RAISE(SourceError, Problem::ofWhole(fault.text));
    }
}

} // namespace

std::string toText(const Trace& trace)
{
    Lines lines;
    for (const std::string& step : trace.steps)
        lines.add("{}", step);
    if (!trace.dropped.empty())
        lines.add("dropped: {}", trace.dropped);
    return lines.text();
}

std::string toJson(const Trace& trace)
{
    OrderedJson to = OrderedJson::array();
    for (const Exit& exit : trace.exits) {
        if (exit.tso)
            to.push_back({{"tso", *exit.tso}, {"pid", exit.pid}, {"outputs", exit.outputs}});
        else
            to.push_back({{"cpu", exit.filter}});
    }
    return document({{"tsi", trace.tsi},
                     {"pid", trace.pid},
                     {"inputs", trace.inputs},
                     {"by", orNull(trace.by)},
                     {"to", std::move(to)},
                     {"dropped", orNull(trace.dropped)}});
}

std::string toText(const BackTrace& trace)
{
    Lines lines;
    for (const Origin& origin : trace.from) {
        lines.append("{}", toString(origin.packets));
        if (origin.as)
            lines.append(" as 0x{:04x}", *origin.as);
        if (origin.inputs.empty())
            lines.end(" from no input");
        else
            lines.end(" from {}", fmt::join(origin.inputs, ", "));
    }
    return lines.text();
}

std::string toJson(const BackTrace& trace)
{
    OrderedJson from = OrderedJson::array();
    for (const Origin& origin : trace.from) {
        const auto pid = origin.packets.isWholeTsi() ? std::nullopt : std::optional(origin.packets.pid);
        from.push_back(
            {{"tsi", origin.packets.tsi}, {"pid", orNull(pid)}, {"as", orNull(origin.as)}, {"inputs", origin.inputs}});
    }
    return document({{"tso", trace.tso}, {"pid", orNull(trace.pid)}, {"from", std::move(from)}});
}

Selector parseTracePacket(std::string_view text)
{
    return readArgument(text, [&](TextReader& reader) {
        Selector packets;
        reader.packets(TSI, PID, packets);
        if (packets.isWholeTsi())
            reader.fail("a TSI and a PID, as 9:0x0100", text);
        return packets;
    });
}

TsoPid parseTraceOutput(std::string_view text)
{
    return readArgument(text, [](TextReader& reader) {
        const Destination to = reader.destination(Reach::OUTPUTS);
        return TsoPid{to.tso(), to.newPid()};
    });
}

} // namespace Osl::ZebRouting
