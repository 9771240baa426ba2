#pragma once

#include <osl/userspace_drivers/drivers/zeb/ts/fieldentry.h>

namespace Osl::Drivers::Zeb {

// clang-format off
inline constexpr std::array O_PID_MAP_FIELDS{
    Field{.at = {"PIDidx", POSITION, 0, 12},   .stuffing = 4095, .min = 1, // 0 ends a replication list
          .refusal         = "Cannot set PIDix - invalid PIDidx (",
          .creationRefusal = "Cannot create PidMapEntry - invalid PIDidx ("},
    Field{.at = {"TSOidx",      0,  0,  8}, .stuffing = 255,
          .refusal         = "Cannot set TSOidx - invalid TSOidx (",
          .creationRefusal = "Cannot create PidMapEntry - invalid TSOidx ("},
    Field{.at = {"NEXT_PIDidx", 1,  0, 12},
          .refusal         = "Cannot set NEXT PIDIX - invalid NEXT_PIDidx value ("},
    Field{.at = {"REMAP_PID",   0,  8, 13}, .stuffing = 8191,
          .refusal         = "Cannot set remap PID value - invalid PID value (",
          .creationRefusal = "Cannot create PidMapEntry - invalid PID value (", .switchesOn = "REMAP"},
    Field{.at = {"REMAP",       0, 21,  1}},
    Field{.at = {"ENABLED",     0, 22,  1}, .tellsUse = true},
};
// clang-format on

inline constexpr TableLayout O_PID_MAP{
    .name = "O-PID MAP",
    .block = TableBlock::PID,
    .activeBase = {16384, 16384},
    .rows = 4096,
    .wordsPerRow = 2,
    .firstRow = 1,
    .fields = O_PID_MAP_FIELDS,
    .rowDigits = 4,
    .format = "PIDIDX:{PIDidx:04}, OPID:0x{REMAP_PID:04x}({REMAP_PID:04}), TSOIDX:{TSOidx:03}, "
              "NEXTPIDIDX:{NEXT_PIDidx:04}, ENABLED:{ENABLED}, REMAP:{REMAP}",
};

/// A row of the O-PID MAP: the output of one PIDidx, and the PIDidx that gets the next copy.
class PidMapEntry final : public DeclaredEntry<O_PID_MAP>
{
public:
    PidMapEntry() = default;
    /// The stuffing row of a PIDidx.
    explicit PidMapEntry(uint32_t pidIdx) { create<"PIDidx">(pidIdx); }
    PidMapEntry(uint32_t pidIdx, uint32_t tsoIdx, uint32_t nextPidIdx, uint32_t remapPid, bool remap, bool enabled)
    {
        create<"PIDidx", "TSOidx">(pidIdx, tsoIdx);
        setNextPIDidx(nextPidIdx);
        create<"REMAP_PID", "REMAP", "ENABLED">(remapPid, remap, enabled);
    }

    /// Leaves PIDidx 4095; the reader that knows the row sets its own.
    bool deserialize() override;

    void setPIDidx(uint32_t pidIdx) { set<"PIDidx">(pidIdx); }
    void setTSOidx(uint32_t tsoIdx) { set<"TSOidx">(tsoIdx); }
    void setNextPIDidx(uint32_t nextPidIdx);                            ///< 0 (end of list) or another row's PIDidx
    void setRemapPID(uint32_t remapPid) { set<"REMAP_PID">(remapPid); } ///< switches remapping on
    void setRemap(bool remap) { set<"REMAP">(remap); }
    void setEnabled(bool enabled) { set<"ENABLED">(enabled); }

    uint16_t getPIDidx() const { return get<"PIDidx">(); }
    uint8_t getTSOidx() const { return get<"TSOidx">(); }
    uint16_t getNextPIDidx() const { return get<"NEXT_PIDidx">(); }
    uint16_t getRemapPID() const { return get<"REMAP_PID">(); }
    bool isRemap() const { return get<"REMAP">(); }
    bool isEnabled() const { return get<"ENABLED">(); }
};

} // namespace Osl::Drivers::Zeb
