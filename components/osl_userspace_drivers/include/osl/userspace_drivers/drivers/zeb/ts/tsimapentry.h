#pragma once

#include <osl/userspace_drivers/drivers/zeb/ts/fieldentry.h>

namespace Osl::Drivers::Zeb {

// clang-format off
inline constexpr std::array TSI_MAP_FIELDS{
    Field{.at = {"TSIidx", POSITION, 0, 8}, .stuffing = 255,
          .refusal         = "Cannot set TSIidx - invalid TSIidx given (",
          .creationRefusal = "Cannot create TsiMapEntry - invalid TSIidx ("},
    Field{.at = {"PIDidx",    0,  0, 12}, .stuffing = 4095, .min = 1,
          .refusal         = "Cannot set TSIidx - invalid TSIidx given (", // of the TSIidx, as users know it
          .creationRefusal = "Cannot create TsiMapEntry - invalid PIDidx ("},
    Field{.at = {"ENABLED",   0, 12,  1}, .tellsUse = true},
};
// clang-format on

inline constexpr TableLayout TSI_MAP{
    .name = "TSI MAP",
    .block = TableBlock::PID,
    .activeBase = {256, 256},
    .rows = 256,
    .wordsPerRow = 1,
    .fields = TSI_MAP_FIELDS,
    .format = "TSIIDX:{TSIidx:03}, PIDIDX:{PIDidx:04}, ENABLED:{ENABLED}",
};

/// A row of the TSI MAP: the PIDidx of a whole TSI.
class TsiMapEntry final : public DeclaredEntry<TSI_MAP>
{
public:
    TsiMapEntry() = default;
    /// The stuffing row of a TSI.
    explicit TsiMapEntry(uint32_t tsiIdx) { create<"TSIidx">(tsiIdx); }
    TsiMapEntry(uint32_t tsiIdx, uint32_t pidIdx, bool enabled)
    {
        create<"TSIidx", "PIDidx", "ENABLED">(tsiIdx, pidIdx, enabled);
    }

    void setTSIidx(uint32_t tsiIdx) { set<"TSIidx">(tsiIdx); }
    void setPIDidx(uint32_t pidIdx) { set<"PIDidx">(pidIdx); }
    void setEnabled(bool enabled) { set<"ENABLED">(enabled); }

    uint8_t getTSIidx() const { return get<"TSIidx">(); }
    uint16_t getPIDidx() const { return get<"PIDidx">(); }
    bool isEnabled() const { return get<"ENABLED">(); }
};

} // namespace Osl::Drivers::Zeb
