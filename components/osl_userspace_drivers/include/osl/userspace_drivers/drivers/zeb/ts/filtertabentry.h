#pragma once

#include <osl/userspace_drivers/drivers/zeb/ts/fieldentry.h>

namespace Osl::Drivers::Zeb {

// clang-format off
inline constexpr std::array FILTER_TABLE_FIELDS{
    Field{.at = {"FILTTABIDX", POSITION, 0, 8},
          .refusal = "FilterTabEntry created/modified with invalid FILTTABIDX ("},
    Field{.at = {"PACKET_COUNT",  0,  0, 32}, .max = 255, .tellsUse = true, // a row that is read may hold more
          .refusal = "FilterTabEntry created/modified with invalid Packet count value ("},
};
// clang-format on

inline constexpr TableLayout FILTER_TABLE{
    .name = "FILTER TABLE",
    .block = TableBlock::PID,
    .activeBase = {512, 512},
    .rows = 256,
    .wordsPerRow = 1,
    .fields = FILTER_TABLE_FIELDS,
};

/// A row of the FILTER TABLE: how many packets of a payload unit pass to the CPU.
class FilterTabEntry final : public DeclaredEntry<FILTER_TABLE>
{
public:
    FilterTabEntry() = default;
    /// The stuffing row of a filter index.
    explicit FilterTabEntry(uint32_t filtTabIdx) { create<"FILTTABIDX">(filtTabIdx); }
    FilterTabEntry(uint32_t filtTabIdx, uint32_t packetCount)
    {
        create<"FILTTABIDX", "PACKET_COUNT">(filtTabIdx, packetCount);
    }

    /// Packet count 0; the filter index stays.
    void setStuffing() override { setPacketCount(0); }

    void setFILTTABIDX(uint32_t filtTabIdx) { set<"FILTTABIDX">(filtTabIdx); }
    void setPacketCount(uint32_t packetCount) { set<"PACKET_COUNT">(packetCount); }

    uint8_t getFILTTABIDX() const { return get<"FILTTABIDX">(); }
    uint32_t getPacketCount() const { return get<"PACKET_COUNT">(); }
};

} // namespace Osl::Drivers::Zeb
