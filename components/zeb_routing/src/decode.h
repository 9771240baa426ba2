#pragma once

#include <osl/userspace_drivers/drivers/zeb/ts/ipoutentry.h>
#include <osl/zeb_routing/facts.h>
#include <osl/zeb_routing/tables.h>

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

/// Rows of single tables, by their words.
namespace Osl::ZebRouting {

using Words = std::span<const uint32_t>;

/// A table, and which of its rows are in use: those by which the FPGA acts, and in the IP OUT MAP those that somebody
/// put there without enabling them.
struct TableUse
{
    const Drivers::Zeb::TableLayout& layout;
    bool (*isInUse)(uint32_t row, Words words);
};

extern const TableUse IP_INPUTS, PHYS_INPUTS, IP_OUTPUTS, PHYS_OUTPUTS, FILTERS, PID_ROUTES, TSI_ROUTES, LIST_ROWS;

/// Calls `visit(row, words)` for each row in use.
template <class Visit>
void forEachRow(const Tables& tables, const TableUse& table, const Visit& visit)
{
    const Words all = tables.words(table.layout);
    for (uint32_t row = table.layout.firstRow; row < table.layout.rows; ++row) {
        const Words words = all.subspan(std::size_t{row} * table.layout.wordsPerRow, table.layout.wordsPerRow);
        if (table.isInUse(row, words))
            visit(row, words);
    }
}

Selector packetsOf(Words pidLutRow);
/// What unused rows of the PID LUT look like; the FPGA never looks for it.
bool isStuffing(const Selector& packets);
/// The row of the PID LUT that the FPGA finds for packets of one PID, if any: by bisection, so that what is not in
/// order is not found.
std::optional<uint32_t> findPidLutRow(const Tables& tables, const Selector& packets);
bool isOutRoute(Words pidLutRow);
uint16_t listOf(Words pidLutRow);
uint8_t filterOf(Words pidLutRow);
uint16_t listOfTsi(Words tsiMapRow);
/// The PIDIDX to which the TSI MAP sends what has no route of its own; 0: nowhere.
uint16_t restOf(const Tables& tables, uint8_t tsi);
Endpoint groupOfInput(Words ipLutRow);
Endpoint groupOfOutput(Words ipOutRow);
Mac macOfOutput(Words ipOutRow);

/// The PIDIDX of each PID LUT row with OUT_ROUTE, and of each enabled one of the TSI MAP.
std::vector<uint16_t> listEntries(const Tables& tables);

/// Fields of the MAC address in the order of its text.
inline constexpr std::array MAC_FIELDS{
    &Drivers::Zeb::IpOutEntry::FIELD<"MAC5">.at, &Drivers::Zeb::IpOutEntry::FIELD<"MAC4">.at,
    &Drivers::Zeb::IpOutEntry::FIELD<"MAC3">.at, &Drivers::Zeb::IpOutEntry::FIELD<"MAC2">.at,
    &Drivers::Zeb::IpOutEntry::FIELD<"MAC1">.at, &Drivers::Zeb::IpOutEntry::FIELD<"MAC0">.at};

} // namespace Osl::ZebRouting
