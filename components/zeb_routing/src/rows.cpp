#include "decode.h"
#include "lines.h"

#include <osl/userspace_drivers/drivers/zeb/ts/filtertabentry.h>
#include <osl/userspace_drivers/drivers/zeb/ts/ipinentry.h>
#include <osl/userspace_drivers/drivers/zeb/ts/physinentry.h>
#include <osl/userspace_drivers/drivers/zeb/ts/physoutentry.h>
#include <osl/userspace_drivers/drivers/zeb/ts/pidlutentry.h>
#include <osl/userspace_drivers/drivers/zeb/ts/pidmapentry.h>
#include <osl/userspace_drivers/drivers/zeb/ts/tsimapentry.h>

#include <algorithm>
#include <iterator>

namespace Osl::ZebRouting {

using namespace Drivers::Zeb;

namespace {

struct RowPrinter
{
    const TableUse& table;
    void (*print)(Lines& lines, uint32_t row, Words words);
};

const RowPrinter PRINTERS[]{
    {IP_INPUTS,
     [](Lines& lines, uint32_t, Words words) {
         lines.add("iplut {} tsi {}", inputName(groupOfInput(words)), IpInEntry::FIELD<"TSIidx">.at.get(words));
     }},
    {PHYS_INPUTS, [](Lines& lines, uint32_t row,
                     Words words) { lines.add("physin {} tsi {}", row, PhysInEntry::FIELD<"TSIidx">.at.get(words)); }},
    {IP_OUTPUTS,
     [](Lines& lines, uint32_t row, Words words) {
         lines.add("ipout {} {} mac {} {}{}", row, outputName(groupOfOutput(words)), toString(macOfOutput(words)),
                   IpOutEntry::FIELD<"RTP">.at.get(words) != 0 ? "rtp " : "",
                   IpOutEntry::FIELD<"ENABLED">.at.get(words) != 0 ? "on" : "off");
     }},
    {PHYS_OUTPUTS,
     [](Lines& lines, uint32_t row, Words words) {
         lines.add("physout {} port {}", row, PhysOutEntry::FIELD<"PHYOidx">.at.get(words));
     }},
    {FILTERS,
     [](Lines& lines, uint32_t row, Words words) {
         lines.add("filttab {} {}", row, FilterTabEntry::FIELD<"PACKET_COUNT">.at.get(words));
     }},
    {PID_ROUTES,
     [](Lines& lines, uint32_t, Words words) {
         lines.add("pidlut {} pididx {}{}{} filter {}", toString(packetsOf(words)), listOf(words),
                   isOutRoute(words) ? " out" : "", PidLutEntry::FIELD<"CPU_ROUTE">.at.get(words) != 0 ? " cpu" : "",
                   filterOf(words));
     }},
    {TSI_ROUTES,
     [](Lines& lines, uint32_t row, Words words) { lines.add("tsimap {} pididx {}", row, listOfTsi(words)); }},
    {LIST_ROWS,
     [](Lines& lines, uint32_t row, Words words) {
         lines.append("opidmap {} tso {}", row, PidMapEntry::FIELD<"TSOidx">.at.get(words));
         if (PidMapEntry::FIELD<"REMAP">.at.get(words) != 0)
             lines.append(" pid 0x{:04x}", PidMapEntry::FIELD<"REMAP_PID">.at.get(words));
         lines.end(" next {}", PidMapEntry::FIELD<"NEXT_PIDidx">.at.get(words));
     }},
};

std::string textOf(const Tables& tables, bool withFilters)
{
    Lines lines;
    for (const RowPrinter& printer : PRINTERS)
        if (withFilters || &printer.table != &FILTERS)
            forEachRow(tables, printer.table, [&](uint32_t row, Words words) { printer.print(lines, row, words); });
    return lines.text();
}

using LineList = std::vector<std::string_view>; // into one text

LineList linesOf(const std::string& text)
{
    LineList lines;
    for (std::size_t begin = 0; begin < text.size();) {
        const std::size_t end = text.find('\n', begin) + 1;
        lines.emplace_back(text.data() + begin, end - begin);
        begin = end;
    }
    std::sort(lines.begin(), lines.end());
    return lines;
}

/// Lines that `lines` has more often, in the order of their text.
void addMissing(std::string& text, char sign, const LineList& lines, const LineList& others)
{
    LineList missing;
    std::set_difference(lines.begin(), lines.end(), others.begin(), others.end(), std::back_inserter(missing));
    std::sort(missing.begin(), missing.end(),
              [](std::string_view a, std::string_view b) { return a.data() < b.data(); });
    for (const std::string_view line : missing) {
        text += sign;
        text += line;
    }
}

} // namespace

std::string rowText(const Tables& tables) { return textOf(tables, true); }

std::string rowDifference(const Tables& from, const Tables& to)
{
    const bool withFilters = from.hasFilters() && to.hasFilters();
    const std::string removedFrom = textOf(from, withFilters);
    const std::string addedFrom = textOf(to, withFilters);
    const LineList before = linesOf(removedFrom);
    const LineList after = linesOf(addedFrom);
    std::string text;
    addMissing(text, '-', before, after);
    addMissing(text, '+', after, before);
    return text;
}

} // namespace Osl::ZebRouting
