#pragma once

#include <array>
#include <cstdint>
#include <string_view>

namespace Osl::Drivers::Zeb {

/// The FPGA functions that hold tables, each mapped by a device of its own (PIDLUT_DEVICE, IPLUT_DEVICE).
enum class TableBlock { PID, IO };

/// Value of `TableLayout::bankWord` for a table with one bank.
inline constexpr uint32_t NO_BANK_WORD = 0xFFFFFFFF;

/// Where a routing table lies in its block's memory. Offsets count 32-bit words.
struct TableLayout
{
    std::string_view name; ///< as range messages print it
    TableBlock block;
    /// First word of the bank that the FPGA uses while the bank bit is 0 and 1; twice the same for a table that is
    /// reached at one address only.
    std::array<uint32_t, 2> activeBase;
    uint32_t rows;
    uint32_t wordsPerRow;
    uint32_t firstRow; ///< rows below are reserved
    uint32_t bankWord; ///< control word whose BANK_BIT tells, and when toggled switches, the active bank

    static constexpr uint32_t BANK_BIT = 1;

    constexpr uint32_t words() const { return rows * wordsPerRow; }
    /// First word of the active bank by the control word.
    constexpr uint32_t active(uint32_t control) const { return activeBase[control & BANK_BIT]; }
    /// First word of the bank to fill before the switch, by the control word.
    constexpr uint32_t spare(uint32_t control) const { return active(control ^ BANK_BIT); }
    /// First word of a row of a table that is reached at one address.
    constexpr uint32_t rowOffset(uint32_t row) const { return activeBase[0] + row * wordsPerRow; }
};

// clang-format off
//                                        name            block           active base     rows  words first bank word
inline constexpr TableLayout PID_LUT     {"PID LUT",      TableBlock::PID, {8192, 12288},  2048, 2,    0,    129};
inline constexpr TableLayout TSI_MAP     {"TSI MAP",      TableBlock::PID, {256, 256},     256,  1,    0,    NO_BANK_WORD};
inline constexpr TableLayout FILTER_TABLE{"FILTER TABLE", TableBlock::PID, {512, 512},     256,  1,    0,    NO_BANK_WORD};
inline constexpr TableLayout O_PID_MAP   {"O-PID MAP",    TableBlock::PID, {16384, 16384}, 4096, 2,    1,    NO_BANK_WORD};
// Both banks of the IP LUT appear at one address: the FPGA chooses which of them an access there reaches.
inline constexpr TableLayout IP_LUT      {"IP LUT",       TableBlock::IO,  {2048, 2048},   256,  2,    0,    0};
inline constexpr TableLayout PHYS_IN_MAP {"PHYS IN MAP",  TableBlock::IO,  {128, 128},     64,   1,    0,    NO_BANK_WORD};
inline constexpr TableLayout PHYS_OUT_MAP{"PHYS OUT MAP", TableBlock::IO,  {256, 256},     256,  1,    0,    NO_BANK_WORD};
// The name is not a slip of this table: users and scripts know the IP OUT MAP's range message with this text.
inline constexpr TableLayout IP_OUT_MAP  {"PHYS OUT MAP", TableBlock::IO,  {1024, 1024},   256,  4,    0,    NO_BANK_WORD};
// clang-format on

/// Status words of the PID block that the FPGA counts in, one for each index 0..255; read only.
inline constexpr uint32_t STATUS_COUNT = 256;
inline constexpr uint32_t TSI_BITRATE_BASE = 1024; ///< by TSI
inline constexpr uint32_t TSO_BITRATE_BASE = 1280; ///< by TSO
inline constexpr uint32_t STATUS_1536_BASE = 1536;

} // namespace Osl::Drivers::Zeb
