#pragma once

#include "ports.h"

#include <osl/userspace_drivers/drivers/zeb/ts/ipinentry.h>
#include <osl/userspace_drivers/drivers/zeb/ts/pidlutentry.h>
#include <osl/userspace_drivers/drivers/zeb/ts/tablelayout.h>
#include <osl/zeb_routing/facts.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>
#include <variant>
#include <vector>

/// What a statement consists of. Kind<S>::fields(form, statement) calls the functions of a form, one for each field in
/// the order of the text; the forms write and read text and JSON.
namespace Osl::ZebRouting {

/// A route with all its destinations, each of which is a fact.
struct RouteStatement
{
    Selector packets;
    std::vector<Destination> to;
};

struct ListStatement
{
    uint16_t pidIdx = 0;
    std::vector<Destination> to;
};

using Statement = std::variant<Input, Output, Filter, RouteStatement, ListStatement>;

struct NumberField
{
    std::string_view key;  ///< in JSON
    std::string_view what; ///< with its article, in messages
    uint32_t min, max;
};

namespace Zeb = Drivers::Zeb;
inline constexpr NumberField TSI{"tsi", "a TSI", 0, Zeb::IpInEntry::FIELD<"TSIidx">.at.max()};
inline constexpr NumberField TSO{"tso", "a TSO", 0, Zeb::IP_OUT_MAP.rows - 1};
inline constexpr NumberField PID{"pid", "a PID", 0, Zeb::PidLutEntry::FIELD<"PID">.at.max()};
inline constexpr NumberField PIDIDX{"pididx", "a list number", Zeb::O_PID_MAP.firstRow, Zeb::O_PID_MAP.rows - 1};
// The last filter stands for none.
inline constexpr NumberField FILTER{"filter", "a filter", 0, Zeb::FILTER_TABLE.rows - 2};
inline constexpr NumberField CPU{"cpu", "a filter, or 255 for all packets", 0, Zeb::FILTER_TABLE.rows - 1};
inline constexpr NumberField UDP_PORT{"port", "a UDP port", 0, Zeb::IpInEntry::FIELD<"UDP_PORT">.at.max()};
inline constexpr NumberField COUNT{"count", "a number of packets", 1, Filter::WHOLE_UNIT - 1};
inline constexpr NumberField COUNT_OR_UNIT{"count", "a number of packets, or 255 for a whole payload unit", 1,
                                           Filter::WHOLE_UNIT};

struct FlagField
{
    std::string_view key;  ///< in JSON
    std::string_view word; ///< in text, where the flag has the value below
    bool wordMeans;
};
inline constexpr FlagField RTP{"rtp", "rtp", true};
inline constexpr FlagField ENABLED{"enabled", "off", false};

/// Which destinations a statement takes.
enum class Reach { ANYWHERE, OUTPUTS };

/// The key word of a kind of statement in text, the name of its array in JSON, its fields, and why there can be no such
/// statement ("" when there can).
template <class S>
struct Kind;

template <>
struct Kind<Input>
{
    static constexpr std::string_view WORD = "input", JSON_KEY = "inputs";
    static constexpr auto FACTS = &Routing::inputs;

    template <class Form, class S>
    static void fields(Form& form, S& input)
    {
        form.number(TSI, input.tsi);
        form.endpoint(inputPorts(), input.from);
    }
    static std::string_view fault(const Input& input)
    {
        return input.from.isPort && input.tsi == TSI.max
                   ? "a port that feeds TSI 255 is what an unused port looks like; choose another TSI"
                   : "";
    }
};

template <>
struct Kind<Output>
{
    static constexpr std::string_view WORD = "output", JSON_KEY = "outputs";
    static constexpr auto FACTS = &Routing::outputs;

    template <class Form, class S>
    static void fields(Form& form, S& output)
    {
        form.number(TSO, output.tso);
        form.endpoint(outputPorts(), output.to);
        if (output.to.isPort)
            return;
        form.mac(output.mac, output.to.address);
        form.flag(RTP, output.rtp);
        form.flag(ENABLED, output.enabled);
    }
    static std::string_view fault(const Output&) { return ""; }
};

template <>
struct Kind<Filter>
{
    static constexpr std::string_view WORD = "filter", JSON_KEY = "filters";
    static constexpr auto FACTS = &Routing::filters;

    template <class Form, class S>
    static void fields(Form& form, S& filter)
    {
        form.number(FILTER, filter.filter);
        form.count(filter.count);
    }
    static std::string_view fault(const Filter&) { return ""; }
};

template <>
struct Kind<RouteStatement>
{
    static constexpr std::string_view WORD = "route", JSON_KEY = "routes";
    static constexpr auto FACTS = &Routing::routes;
    static constexpr auto SHARED = &Route::packets;

    template <class Form, class S>
    static void fields(Form& form, S& route)
    {
        form.packets(TSI, PID, route.packets);
        form.destinations(route.to, route.packets.isWholeTsi() ? Reach::OUTPUTS : Reach::ANYWHERE);
    }
    static std::string_view fault(const RouteStatement& route)
    {
        return route.packets == Selector{TSI.max, PID.max}
                   ? "255:0x1fff is what unused rows of the PID LUT look like; the FPGA cannot route it"
                   : "";
    }
};

template <>
struct Kind<ListStatement>
{
    static constexpr std::string_view WORD = "list", JSON_KEY = "lists";
    static constexpr auto FACTS = &Routing::lists;
    static constexpr auto SHARED = &List::pidIdx;

    template <class Form, class S>
    static void fields(Form& form, S& list)
    {
        form.number(PIDIDX, list.pidIdx);
        form.destinations(list.to, Reach::OUTPUTS);
    }
    static std::string_view fault(const ListStatement&) { return ""; }
};

/// Calls `visit` with an empty statement of each kind, in the order of printing.
template <class Visit>
void forEachStatementKind(const Visit& visit)
{
    [&visit]<class... S>(std::type_identity<std::variant<S...>>) {
        (visit(S{}), ...);
    }(std::type_identity<Statement>());
}

/// Calls `visit` with the statements of one kind that say the facts.
template <class S, class Visit>
void forEachStatement(const Routing& routing, const S&, const Visit& visit)
{
    const auto& facts = routing.*Kind<S>::FACTS;
    for (auto fact = facts.begin(); fact != facts.end();) {
        if constexpr (requires { Kind<S>::SHARED; }) { // facts that differ by their destination are one statement
            const auto shared = (*fact).*Kind<S>::SHARED;
            S statement{shared, {}};
            for (; fact != facts.end() && (*fact).*Kind<S>::SHARED == shared; ++fact)
                statement.to.push_back(fact->to);
            visit(statement);
        } else {
            visit(*fact++);
        }
    }
}

} // namespace Osl::ZebRouting
