#include "list_map.h"

#include <osl/userspace_drivers/drivers/zeb/ts/pidmapentry.h>

#include <algorithm>
#include <bitset>

namespace Osl::ZebRouting {

using Drivers::Zeb::O_PID_MAP;
using Drivers::Zeb::PidMapEntry;

ListMap::ListMap(const Tables& tables) : ListChains(tables), m_Destinations(ROWS)
{
    std::bitset<ROWS> known;
    known.set(0); // ends every chain
    std::vector<uint16_t> path;
    for (uint32_t start = O_PID_MAP.firstRow; start < ROWS; ++start) {
        path.clear();
        auto at = static_cast<uint16_t>(start);
        for (; !known[at] && !isEnabled(at); at = next(at)) {
            known.set(at); // a ring of disabled rows ends here, and leads to none
            path.push_back(at);
        }
        if (!known[at]) {
            known.set(at);
            m_FirstEnabled[at] = at;
        }
        for (const uint16_t row : path)
            m_FirstEnabled[row] = m_FirstEnabled[at];
    }
}

std::span<const uint32_t> ListChains::row(uint16_t row) const
{
    return m_Words.subspan(std::size_t{row} * O_PID_MAP.wordsPerRow, O_PID_MAP.wordsPerRow);
}

bool ListChains::isEnabled(uint16_t row) const { return PidMapEntry::FIELD<"ENABLED">.at.get(this->row(row)) != 0; }

uint16_t ListChains::next(uint16_t row) const
{
    return static_cast<uint16_t>(PidMapEntry::FIELD<"NEXT_PIDidx">.at.get(this->row(row)));
}

Destination ListChains::destination(uint16_t row) const
{
    const auto words = this->row(row);
    const auto tso = static_cast<uint8_t>(PidMapEntry::FIELD<"TSOidx">.at.get(words));
    return PidMapEntry::FIELD<"REMAP">.at.get(words) != 0
               ? Destination::output(tso, static_cast<uint16_t>(PidMapEntry::FIELD<"REMAP_PID">.at.get(words)))
               : Destination::output(tso);
}

std::vector<uint16_t> ListChains::rowsFrom(uint16_t pidIdx) const
{
    std::vector<uint16_t> rows;
    std::bitset<ROWS> seen;
    for (uint16_t row = pidIdx; row != 0 && !seen[row]; row = next(row)) {
        seen.set(row);
        if (isEnabled(row))
            rows.push_back(row);
    }
    return rows;
}

bool ListChains::loops(uint16_t pidIdx) const
{
    std::bitset<ROWS> seen;
    for (; pidIdx != 0; pidIdx = next(pidIdx)) {
        if (seen[pidIdx])
            return true;
        seen.set(pidIdx);
    }
    return false;
}

const Destinations& ListMap::destinations(uint16_t pidIdx)
{
    const uint16_t first = m_FirstEnabled[pidIdx];
    Destinations& found = m_Destinations[first];
    if (first != 0 && found.empty()) {
        for (const uint16_t row : rowsFrom(first))
            found.push_back(destination(row));
        std::sort(found.begin(), found.end());
        found.erase(std::unique(found.begin(), found.end()), found.end());
    }
    return found;
}

std::vector<uint16_t> ListMap::headsBeside(std::span<const uint16_t> entries) const
{
    std::bitset<ROWS> reached;
    reached.set(0);
    const auto reach = [&](uint16_t row) {
        for (; !reached[row]; row = successor(row))
            reached.set(row);
    };
    for (const uint16_t entry : entries)
        reach(m_FirstEnabled[entry]);

    std::bitset<ROWS> ledTo;
    for (uint32_t row = O_PID_MAP.firstRow; row < ROWS; ++row) {
        const auto from = static_cast<uint16_t>(row);
        if (isEnabled(from) && !reached[from] && successor(from) != from)
            ledTo.set(successor(from));
    }
    std::vector<uint16_t> heads;
    // In the second round only rings are left.
    for (const bool ring : {false, true}) {
        for (uint32_t row = O_PID_MAP.firstRow; row < ROWS; ++row) {
            const auto head = static_cast<uint16_t>(row);
            if (isEnabled(head) && !reached[head] && (ring || !ledTo[head])) {
                heads.push_back(head);
                reach(head);
            }
        }
    }
    std::sort(heads.begin(), heads.end());
    return heads;
}

} // namespace Osl::ZebRouting
