#include "virtual_board/router.h"

#include "virtual_board/block_rows.h"

#include <osl/ts_basics/ll_tspackets.h>

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <utility>

namespace Osl::VirtualBoard {

using namespace Drivers::Zeb;
using Ts::TS_SIZE;
namespace Ll = Ts::Ll;

namespace {

constexpr uint32_t COUNT_MASK = 0x3FFFF; ///< stream counters have 18 bits
constexpr uint32_t NO_FILTER = 255;      ///< filter index
constexpr uint32_t WHOLE_UNIT = 255;     ///< packet count
constexpr uint32_t MAX_COPIES = 4096;    ///< steps along a replication list

/// What rows of the PID LUT are sorted by: TSI, then PID.
constexpr uint32_t keyOf(uint32_t tsi, uint32_t pid) { return tsi << PidLutEntry::FIELD<"PID">.at.width | pid; }
uint32_t keyOf(const PidLutEntry& row) { return keyOf(row.getTSIIDX(), row.getPID()); }
constexpr uint32_t STUFFING_KEY = keyOf(PidLutEntry::FIELD<"TSIIDX">.stuffing, PidLutEntry::FIELD<"PID">.stuffing);

/// In less time nobody edits both banks of the PID LUT, unless to clear them.
constexpr auto FASTEST_TABLE_EDITS = std::chrono::microseconds(200);

} // namespace

/// By bisection, as the hardware does: what is not sorted is not found.
std::optional<PidLutEntry> Router::findInBank(uint32_t base, uint32_t key) const
{
    PidLutEntry row;
    uint32_t first = 0;
    uint32_t end = PID_LUT.rows;
    while (first < end) {
        const uint32_t middle = first + (end - first) / 2;
        readRow(row, m_Block, base + middle * PID_LUT.wordsPerRow);
        const uint32_t found = keyOf(row);
        if (found == key)
            return row;
        if (found < key)
            first = middle + 1;
        else
            end = middle;
    }
    return std::nullopt;
}

/// Once switched, the bank that was searched may be half of the next table; and when the search was held up, the bank
/// may have been switched twice.
std::optional<PidLutEntry> Router::find(uint32_t key) const
{
    using Clock = std::chrono::steady_clock;
    for (;;) {
        const auto begun = Clock::now();
        const uint32_t bank = PID_LUT.active(m_Block[PID_LUT.bankWord]);
        const auto row = findInBank(bank, key);
        if (PID_LUT.active(m_Block[PID_LUT.bankWord]) == bank && Clock::now() - begun < FASTEST_TABLE_EDITS)
            return row;
    }
}

/// A filter lets a number of packets of each payload unit through, from its start on.
bool Router::passesFilter(uint32_t key, uint32_t filterIndex, const uint8_t* packet)
{
    if (filterIndex == NO_FILTER)
        return true;
    uint32_t& credit = m_FilterCredit[key];
    if (Ll::startsPayloadUnit(packet))
        credit = rowOf<FilterTabEntry>(m_Block, filterIndex).getPacketCount();
    if (credit == 0)
        return false;
    if (credit != WHOLE_UNIT)
        --credit;
    return true;
}

void Router::count(uint32_t firstCounterWord, uint32_t index)
{
    volatile uint32_t& counter = m_Block[firstCounterWord + index];
    counter = (counter + 1) & COUNT_MASK;
}

void Router::fromInput(uint8_t tsi, const uint8_t* packet)
{
    count(TSI_BITRATE_BASE, tsi);
    const uint32_t key = keyOf(tsi, Ll::pid(packet));
    // The last key is that of stuffing rows, which route nothing.
    const auto row = key == STUFFING_KEY ? std::nullopt : find(key);
    if (!row) {
        const auto wholeStream = rowOf<TsiMapEntry>(m_Block, tsi);
        if (wholeStream.isEnabled())
            fromPidIdx(wholeStream.getPIDidx(), packet);
        return;
    }
    if (row->isCpuRoute() && passesFilter(key, row->getFiltTabIDX(), packet))
        m_Sinks.toCpu(tsi, packet);
    if (row->isOutRoute())
        fromPidIdx(row->getPIDIDX(), packet);
}

void Router::fromPidIdx(uint32_t pidIdx, const uint8_t* packet)
{
    const uint32_t entry = pidIdx;
    if (entry == 0 && !std::exchange(m_ReservedRowReported, true))
        m_Sinks.complain("a packet is sent to PIDIDX 0, the reserved row of the O-PID MAP");
    for (uint32_t copies = 0; pidIdx != 0; ++copies) {
        if (copies == MAX_COPIES) {
            if (m_LoopsReported.insert(entry).second)
                m_Sinks.complain(fmt::format("the replication list from PIDIDX {} loops", entry));
            return;
        }
        const auto row = rowOf<PidMapEntry>(m_Block, pidIdx);
        if (row.isEnabled()) {
            std::array<uint8_t, TS_SIZE> copy{};
            std::copy_n(packet, TS_SIZE, copy.begin());
            if (row.isRemap())
                Ll::setPid(copy.data(), row.getRemapPID());
            throughOutput(row.getTSOidx(), copy.data());
        }
        pidIdx = row.getNextPIDidx();
    }
}

void Router::throughOutput(uint8_t tso, const uint8_t* packet)
{
    count(TSO_BITRATE_BASE, tso);
    m_Sinks.toOutput(tso, packet);
}

/// "" when there is none.
std::string Router::faultIn(uint32_t base) const
{
    uint32_t last = 0;
    PidLutEntry entry;
    for (uint32_t row = 0; row < PID_LUT.rows; ++row) {
        readRow(entry, m_Block, base + row * PID_LUT.wordsPerRow);
        const uint32_t key = keyOf(entry);
        if (key < last)
            return fmt::format("PID LUT: row {} of the active bank is not in order", row);
        if (row != 0 && key == last && key != STUFFING_KEY)
            return fmt::format("PID LUT: row {} of the active bank has the same key as the row before it", row);
        last = key;
    }
    return "";
}

bool Router::checkPidLut()
{
    const std::string fault = faultIn(PID_LUT.active(m_Block[PID_LUT.bankWord]));
    // An edit may have come in between; it does not make the same fault again.
    const bool certain = fault == std::exchange(m_SuspectedFault, fault);
    if (certain && !fault.empty() && fault != m_Fault)
        m_Sinks.complain(fault);
    if (certain)
        m_Fault = fault;
    return certain;
}

} // namespace Osl::VirtualBoard
