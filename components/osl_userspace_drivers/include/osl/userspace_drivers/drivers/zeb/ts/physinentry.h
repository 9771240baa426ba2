#pragma once

#include <osl/userspace_drivers/drivers/zeb/ts/fieldentry.h>

namespace Osl::Drivers::Zeb {

// clang-format off
inline constexpr std::array PHYS_IN_MAP_FIELDS{
    Field{.at = {"PHYIidx", POSITION, 0, 6}, .stuffing = 31,
          .refusal         = "Cannot set PHYIidx invalid PHYIidx (",
          .creationRefusal = "Cannot create PhysInEntry - invalid PHYIidx ("},
    Field{.at = {"TSIidx",    0,  0,  8}, .stuffing = 255, .tellsUse = true,
          .refusal         = "Cannot set TSIidx - invalid TSIidx (",
          .creationRefusal = "Cannot create PhysInEntry - invalid TSIidx ("},
};
// clang-format on

inline constexpr TableLayout PHYS_IN_MAP{
    .name = "PHYS IN MAP",
    .block = TableBlock::IO,
    .activeBase = {128, 128},
    .rows = 64,
    .wordsPerRow = 1,
    .fields = PHYS_IN_MAP_FIELDS,
    .format = "PHYIIDX:{PHYIidx:02}, TSIIDX:{TSIidx:03}",
};

/// A row of the PHYS IN MAP: the TSI that a physical input feeds.
class PhysInEntry final : public DeclaredEntry<PHYS_IN_MAP>
{
public:
    PhysInEntry() = default;
    /// The stuffing row of a physical input.
    explicit PhysInEntry(uint32_t phyIIdx) { create<"PHYIidx">(phyIIdx); }
    PhysInEntry(uint32_t phyIIdx, uint32_t tsiIdx) { create<"PHYIidx", "TSIidx">(phyIIdx, tsiIdx); }

    void setPHYIidx(uint32_t phyIIdx) { set<"PHYIidx">(phyIIdx); }
    void setTSIidx(uint32_t tsiIdx) { set<"TSIidx">(tsiIdx); }

    uint8_t getPHYIidx() const { return get<"PHYIidx">(); }
    uint8_t getTSIidx() const { return get<"TSIidx">(); }
};

} // namespace Osl::Drivers::Zeb
