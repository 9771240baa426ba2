#include "lines.h"
#include "name_list.h"

#include <osl/zeb_routing/graph.h>

#include <array>
#include <map>
#include <set>
#include <string>
#include <tuple>
#include <vector>

namespace Osl::ZebRouting {
namespace {

using Names = std::vector<std::string>;

/// PIDs of one TSI that go the same way, runs of them as "0x0100-0x0104".
class PidLabel
{
public:
    /// In ascending order.
    void add(uint16_t pid, std::optional<uint16_t> newPid)
    {
        if (!newPid && m_Last && *m_Last + 1 == pid && pid != Selector::ALL_PIDS) {
            m_Last = pid;
            return;
        }
        endRun();
        const std::string name = pid == Selector::ALL_PIDS ? "*" : fmt::format("0x{:04x}", pid);
        if (newPid) {
            m_Names.add(fmt::format("{} as 0x{:04x}", name, *newPid));
        } else {
            m_First = name;
            m_FirstPid = pid;
            m_Last = pid;
        }
    }
    std::string text()
    {
        endRun();
        return m_Names.text();
    }

private:
    void endRun()
    {
        if (m_Last)
            m_Names.add(*m_Last == m_FirstPid ? m_First : fmt::format("{}-0x{:04x}", m_First, *m_Last));
        m_Last.reset();
    }

    NameList m_Names;
    std::string m_First; ///< of the run
    uint16_t m_FirstPid = 0;
    std::optional<uint16_t> m_Last;
};

class Graph
{
public:
    explicit Graph(const Routing& routing) : m_Routing(routing) {}

    std::string draw()
    {
        m_Lines.add("digraph routing {{");
        m_Lines.add("  rankdir=LR; ranksep=2.5; nodesep=0.15;");
        m_Lines.add("  node [shape=record, fontname=\"sans-serif\", fontsize=11, height=0.3];");
        m_Lines.add("  edge [fontname=\"sans-serif\", fontsize=9, arrowsize=0.6];");
        drawTsis();
        drawLists();
        drawTsos();
        drawEdges();
        m_Lines.add("}}");
        return m_Lines.text();
    }

private:
    void drawTsis()
    {
        std::map<uint8_t, Names> tsis;
        for (const Input& input : m_Routing.inputs)
            tsis[input.tsi].push_back(inputName(input.from));
        for (const Route& route : m_Routing.routes)
            tsis[route.packets.tsi];
        m_Lines.add("  {{ rank=source;");
        for (const auto& [tsi, names] : tsis)
            m_Lines.add("  tsi{} [label=\"{{{}|TSI {}}}\"{}];", tsi, labelOf(names, "no input"), tsi, faded(names));
        m_Lines.add("  }}");
    }

    void drawLists()
    {
        std::set<uint16_t> numbers;
        for (const List& list : m_Routing.lists)
            if (numbers.insert(list.pidIdx).second)
                m_Lines.add("  list{} [label=\"list {}\", style=rounded];", list.pidIdx, list.pidIdx);
    }

    void drawTsos()
    {
        std::map<uint8_t, Names> tsos;
        for (const Output& output : m_Routing.outputs)
            tsos[output.tso].push_back(outputName(output.to) + (output.enabled ? "" : " (off)"));
        for (const Route& route : m_Routing.routes)
            if (route.to.isOutput())
                tsos[route.to.tso()];
        for (const List& list : m_Routing.lists)
            tsos[list.to.tso()];
        m_Lines.add("  {{ rank=sink;"); // in one column, also those that nothing leads to
        for (const auto& [tso, names] : tsos)
            m_Lines.add("  tso{} [label=\"{{TSO {}|{}}}\"{}];", tso, tso, labelOf(names, "no output"), faded(names));
        m_Lines.add("  }}");
    }

    void drawEdges()
    {
        struct Edge
        {
            uint8_t tsi;
            std::string to;
            auto operator<=>(const Edge&) const = default;
        };
        std::map<Edge, PidLabel> edges;
        bool toCpu = false;
        bool dropped = false;
        for (const auto& [packets, to] : m_Routing.routes) {
            toCpu = toCpu || to.isCpu();
            dropped = dropped || to.isDrop();
            const auto newPid = to.isOutput() ? to.newPid() : std::nullopt;
            edges[{packets.tsi, nodeOf(to)}].add(packets.pid, newPid);
        }
        if (toCpu)
            m_Lines.add("  {{ rank=sink; cpu [label=\"processor\", style=rounded]; }}");
        if (dropped)
            m_Lines.add("  {{ rank=sink; drop [label=\"dropped\", style=dashed]; }}");
        for (auto& [edge, label] : edges)
            m_Lines.add("  tsi{} -> {} [label=\"{}\", color=\"{}\", fontcolor=\"{}\"];", edge.tsi, edge.to,
                        label.text(), colourOf(edge.tsi), colourOf(edge.tsi));
        for (const auto& [pidIdx, to] : m_Routing.lists) {
            const auto newPid = to.newPid();
            m_Lines.add("  list{} -> tso{} [label=\"{}\"];", pidIdx, to.tso(),
                        newPid ? fmt::format("as 0x{:04x}", *newPid) : "");
        }
    }

    static std::string nodeOf(Destination to)
    {
        return to.isOutput() ? fmt::format("tso{}", to.tso()) : to.isCpu() ? "cpu" : "drop";
    }
    static std::string labelOf(const Names& names, std::string_view none)
    {
        return names.empty() ? std::string(none) : fmt::format("{}", fmt::join(names, "\\n"));
    }
    /// By which the eye follows the edges of neighbouring TSIs where they cross; all can be read on white.
    static std::string_view colourOf(uint8_t tsi)
    {
        static constexpr std::array<std::string_view, 8> COLOURS{"#1f4e9c", "#b03a2e", "#1e7b45", "#7d3c98",
                                                                 "#a04000", "#117a8b", "#5d4037", "#37474f"};
        return COLOURS[tsi % COLOURS.size()];
    }
    static std::string_view faded(const Names& names) { return names.empty() ? ", color=gray, fontcolor=gray" : ""; }

    const Routing& m_Routing;
    Lines m_Lines;
};

} // namespace

std::string toGraph(const Routing& routing) { return Graph(routing).draw(); }

} // namespace Osl::ZebRouting
