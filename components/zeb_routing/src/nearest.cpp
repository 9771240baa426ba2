#include <osl/zeb_routing/nearest.h>

#include <algorithm>
#include <cstddef>
#include <utility>
#include <vector>

namespace Osl::ZebRouting {
namespace {

constexpr std::size_t MOST_SLIPS = 2;

/// Letters missing, added, wrong, or swapped with their neighbour.
std::size_t slipsBetween(std::string_view a, std::string_view b)
{
    std::vector<std::size_t> last(b.size() + 1);
    std::vector<std::size_t> row(b.size() + 1);
    for (std::size_t j = 0; j <= b.size(); ++j)
        row[j] = j;
    for (std::size_t i = 1; i <= a.size(); ++i) {
        const std::vector<std::size_t> beforeLast = std::exchange(last, row);
        row[0] = i;
        for (std::size_t j = 1; j <= b.size(); ++j) {
            const bool same = a[i - 1] == b[j - 1];
            row[j] = std::min({last[j] + 1, row[j - 1] + 1, last[j - 1] + (same ? 0 : 1)});
            if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1])
                row[j] = std::min(row[j], beforeLast[j - 2] + 1);
        }
    }
    return row.back();
}

} // namespace

std::string_view nearestWord(std::string_view word, std::span<const std::string_view> known)
{
    std::string_view nearest;
    std::size_t fewest = MOST_SLIPS + 1;
    for (const std::string_view candidate : known) {
        if (std::max(word.size(), candidate.size()) > std::min(word.size(), candidate.size()) + MOST_SLIPS)
            continue; // above all, a word of any length costs nothing
        const std::size_t slips = slipsBetween(word, candidate);
        if (slips < fewest && 2 * slips < candidate.size()) {
            nearest = candidate;
            fewest = slips;
        }
    }
    return nearest;
}

} // namespace Osl::ZebRouting
