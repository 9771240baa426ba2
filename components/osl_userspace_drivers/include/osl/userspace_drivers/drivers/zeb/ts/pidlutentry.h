#pragma once

#include <osl/userspace_drivers/drivers/zeb/ts/fieldentry.h>

namespace Osl::Drivers::Zeb {

// clang-format off
inline constexpr std::array PID_LUT_FIELDS{
    Field{.at = {"TSIIDX",     0, 13,  8}, .stuffing = 255,            .tellsUse = true,
          .refusal = "PidLutEntry created/modified with invalid TSIIDX ("},
    Field{.at = {"PID",        0,  0, 13}, .stuffing = 8191,           .tellsUse = true,
          .refusal = "PidLutEntry created/modified with invalid PID ("},
    Field{.at = {"PIDIDX",     1,  0, 12}, .stuffing = 4095, .min = 1, .tellsUse = true, // 0 would end a replication list
          .refusal = "PidLutEntry created/modified with invalid PIDIDX ("},
    Field{.at = {"FiltTabIDX", 1, 24,  8}, .stuffing = 255,            .tellsUse = true,
          .refusal = "PidLutEntry created/modified with invalid FiltTabIDX ("},
    Field{.at = {"OUT_ROUTE",  1, 12,  1}}, // tells nothing: a row that is stuffing but for this flag is not in use
    Field{.at = {"CPU_ROUTE",  1, 13,  1}, .tellsUse = true},
};
// clang-format on

inline constexpr TableLayout PID_LUT{
    .name = "PID LUT",
    .block = TableBlock::PID,
    .activeBase = {8192, 12288},
    .rows = 2048,
    .wordsPerRow = 2,
    .bankWord = 129,
    .needsBarriers = true, // the FPGA must see the rows before the switch that makes it use them
    .idleIsReadable = true,
    .fields = PID_LUT_FIELDS,
    .format = "TSIIDX:{TSIIDX:03}, PID:0x{PID:04x}({PID:04}), PIDIDX:{PIDIDX:04}, CPU_ROUTE:{CPU_ROUTE}, "
              "OUT_ROUTE:{OUT_ROUTE}, FILTIDX:{FiltTabIDX:03}",
};

/// A row of the PID LUT: where the packets of one (TSI, PID) go.
class PidLutEntry final : public DeclaredEntry<PID_LUT>
{
public:
    PidLutEntry() = default;
    explicit PidLutEntry(std::vector<uint32_t> words) : DeclaredEntry(std::move(words)) {}
    PidLutEntry(uint32_t tsiIdx, uint32_t pid, uint32_t pidIdx, uint32_t filtTabIdx, bool outRoute, bool cpuRoute)
    {
        create<"TSIIDX", "PID", "PIDIDX", "FiltTabIDX", "OUT_ROUTE", "CPU_ROUTE">(tsiIdx, pid, pidIdx, filtTabIdx,
                                                                                  outRoute, cpuRoute);
    }

    void setTSIIDX(uint32_t tsiIdx) { set<"TSIIDX">(tsiIdx); }
    void setPID(uint32_t pid) { set<"PID">(pid); }
    void setPIDIDX(uint32_t pidIdx) { set<"PIDIDX">(pidIdx); }
    void setFiltTabIDX(uint32_t filtTabIdx) { set<"FiltTabIDX">(filtTabIdx); } ///< 255: no filter
    void setOutRoute(bool outRoute) { set<"OUT_ROUTE">(outRoute); }
    void setCpuRoute(bool cpuRoute) { set<"CPU_ROUTE">(cpuRoute); }

    uint8_t getTSIIDX() const { return get<"TSIIDX">(); }
    uint16_t getPID() const { return get<"PID">(); }
    uint16_t getPIDIDX() const { return get<"PIDIDX">(); }
    uint8_t getFiltTabIDX() const { return get<"FiltTabIDX">(); }
    bool isOutRoute() const { return get<"OUT_ROUTE">(); }
    bool isCpuRoute() const { return get<"CPU_ROUTE">(); }

    /// Deliberately leaves OUT_ROUTE out.
    bool operator==(const PidLutEntry& other) const
    {
        return key<"TSIIDX", "PID", "PIDIDX", "CPU_ROUTE", "FiltTabIDX">() ==
               other.key<"TSIIDX", "PID", "PIDIDX", "CPU_ROUTE", "FiltTabIDX">();
    }
};

} // namespace Osl::Drivers::Zeb
