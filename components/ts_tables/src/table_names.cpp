#include "table_names.h"

#include <algorithm>
#include <array>

namespace Osl::Ts {
namespace {

struct Row
{
    uint8_t first, last; ///< table ids
    std::string_view name;
};

/// Those of ISO/IEC 13818-1, ETSI EN 300 468, ETSI TS 102 323 and 102 809, ATSC A/65 and SCTE 35.
constexpr std::array ROWS{
    Row{PAT, PAT, "PAT"},
    Row{CAT, CAT, "CAT"},
    Row{PMT, PMT, "PMT"},
    Row{0x03, 0x03, "TSDT"},
    Row{0x3A, 0x3F, "DSM-CC"},
    Row{NIT, NIT, "NIT"},
    Row{0x41, 0x41, "NIT of another network"},
    Row{SDT, SDT, "SDT"},
    Row{0x46, 0x46, "SDT of another stream"},
    Row{0x4A, 0x4A, "BAT"},
    Row{0x4B, 0x4B, "UNT"},
    Row{0x4C, 0x4C, "INT"},
    Row{0x4E, 0x4E, "EIT"},
    Row{0x4F, 0x4F, "EIT of another stream"},
    Row{0x50, 0x5F, "EIT schedule"},
    Row{0x60, 0x6F, "EIT schedule of another stream"},
    Row{0x70, 0x70, "TDT"},
    Row{0x71, 0x71, "RST"},
    Row{0x72, 0x72, "stuffing"},
    Row{0x73, 0x73, "TOT"},
    Row{0x74, 0x74, "AIT"},
    Row{0x76, 0x76, "RCT"},
    Row{0x77, 0x77, "CIT"},
    Row{0x79, 0x79, "RNT"},
    Row{0x7E, 0x7E, "DIT"},
    Row{0x7F, 0x7F, "SIT"},
    Row{0x80, 0x8F, "ECM or EMM"},
    Row{0xC7, 0xC7, "MGT"},
    Row{0xC8, 0xC8, "TVCT"},
    Row{0xC9, 0xC9, "CVCT"},
    Row{0xCA, 0xCA, "RRT"},
    Row{0xCB, 0xCB, "ATSC EIT"},
    Row{0xCC, 0xCC, "ETT"},
    Row{0xCD, 0xCD, "STT"},
    Row{0xFC, 0xFC, "SCTE 35"},
};

} // namespace

std::string_view tableName(uint8_t tableId)
{
    const auto row = std::find_if(ROWS.begin(), ROWS.end(),
                                  [tableId](const Row& one) { return tableId >= one.first && tableId <= one.last; });
    return row == ROWS.end() ? "" : row->name;
}

} // namespace Osl::Ts
