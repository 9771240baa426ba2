#pragma once

#include <osl/userspace_drivers/drivers/zeb/ts/fieldentry.h>

namespace Osl::Drivers::Zeb {

// clang-format off
inline constexpr std::array PHYS_OUT_MAP_FIELDS{
    Field{.at = {"TSOidx", POSITION, 0, 8}, .stuffing = 255,
          .refusal = "Cannot create PhysOutEntry - invalid TSOidx ("},
    Field{.at = {"PHYOidx",   0,  0,  8}, .stuffing = 255, .max = 31, // no setter accepts what marks a stuffing row
          .refusal = "Cannot create PhysOutEntry - invalid PHYOidx ("},
    Field{.at = {"ENABLED",   0,  8,  1}, .tellsUse = true},
};
// clang-format on

inline constexpr TableLayout PHYS_OUT_MAP{
    .name = "PHYS OUT MAP",
    .block = TableBlock::IO,
    .activeBase = {256, 256},
    .rows = 256,
    .wordsPerRow = 1,
    .fields = PHYS_OUT_MAP_FIELDS,
    .format = "TSOIDX:{TSOidx:03}, PHYOIDX:{PHYOidx:03}, ENABLED:{ENABLED}",
};

/// A row of the PHYS OUT MAP: the physical output of one TSO.
class PhysOutEntry final : public DeclaredEntry<PHYS_OUT_MAP>
{
public:
    static constexpr uint32_t MAX_PHYO_IDX = FIELD<"PHYOidx">.max;

    PhysOutEntry() = default;
    /// The stuffing row of a TSO.
    explicit PhysOutEntry(uint32_t tsoIdx) { create<"TSOidx">(tsoIdx); }
    PhysOutEntry(uint32_t tsoIdx, uint32_t phyOIdx, bool enabled)
    {
        create<"TSOidx", "PHYOidx", "ENABLED">(tsoIdx, phyOIdx, enabled);
    }

    void setTSOidx(uint32_t tsoIdx) { set<"TSOidx">(tsoIdx); }
    void setPHYOidx(uint32_t phyOIdx) { set<"PHYOidx">(phyOIdx); }
    void setEnabled(bool enabled) { set<"ENABLED">(enabled); }

    uint8_t getTSOidx() const { return get<"TSOidx">(); }
    uint8_t getPHYOidx() const { return get<"PHYOidx">(); }
    bool isEnabled() const { return get<"ENABLED">(); }
};

} // namespace Osl::Drivers::Zeb
