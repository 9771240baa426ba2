#include "virtual_board/router.h"

#include <osl/ts_basics/ll_tspackets.h>
#include <osl/userspace_drivers/drivers/zeb/ts/filtertabentry.h>
#include <osl/userspace_drivers/drivers/zeb/ts/pidlutentry.h>
#include <osl/userspace_drivers/drivers/zeb/ts/pidmapentry.h>
#include <osl/userspace_drivers/drivers/zeb/ts/tsimapentry.h>

#include <fmt/format.h>

#include <algorithm>
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
constexpr uint32_t keyOf(uint32_t tsi, uint32_t pid)
{
    return tsi << PidLutFields::TSIIDX.lsb | pid << PidLutFields::PID.lsb;
}
constexpr uint32_t KEY_MASK = PidLutFields::TSIIDX.mask() | PidLutFields::PID.mask();
constexpr uint32_t STUFFING_KEY = KEY_MASK;

/// In less time nobody edits both banks of the PID LUT, unless to clear them.
constexpr auto FASTEST_TABLE_EDITS = std::chrono::microseconds(200);

} // namespace

Router::PidLutRow Router::pidLutRow(uint32_t base, uint32_t row) const
{
    PidLutRow words{};
    for (uint32_t i = 0; i < ROW_WORDS; ++i)
        words[i] = m_Block[base + row * ROW_WORDS + i];
    return words;
}

/// By bisection, as the hardware does: what is not sorted is not found.
std::optional<Router::PidLutRow> Router::findInBank(uint32_t base, uint32_t key) const
{
    uint32_t first = 0;
    uint32_t end = PID_LUT.rows;
    while (first < end) {
        const uint32_t middle = first + (end - first) / 2;
        const PidLutRow row = pidLutRow(base, middle);
        const uint32_t found = row[PidLutFields::PID.word] & KEY_MASK;
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
std::optional<Router::PidLutRow> Router::find(uint32_t key) const
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
        credit = m_Block[FILTER_TABLE.rowOffset(filterIndex)];
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
        const std::array<uint32_t, 1> wholeStream{m_Block[TSI_MAP.rowOffset(tsi)]};
        if (TsiMapFields::ENABLED.get(wholeStream) != 0)
            fromPidIdx(TsiMapFields::PID_IDX.get(wholeStream), packet);
        return;
    }
    if (PidLutFields::CPU_ROUTE.get(*row) != 0 && passesFilter(key, PidLutFields::FILT_TAB_IDX.get(*row), packet))
        m_Sinks.toCpu(tsi, packet);
    if (PidLutFields::OUT_ROUTE.get(*row) != 0)
        fromPidIdx(PidLutFields::PIDIDX.get(*row), packet);
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
        const uint32_t offset = O_PID_MAP.rowOffset(pidIdx);
        const std::array<uint32_t, O_PID_MAP.wordsPerRow> row{m_Block[offset], m_Block[offset + 1]};
        if (PidMapFields::ENABLED.get(row) != 0) {
            std::array<uint8_t, TS_SIZE> copy{};
            std::copy_n(packet, TS_SIZE, copy.begin());
            if (PidMapFields::REMAP.get(row) != 0)
                Ll::setPid(copy.data(), static_cast<uint16_t>(PidMapFields::REMAP_PID.get(row)));
            throughOutput(static_cast<uint8_t>(PidMapFields::TSO_IDX.get(row)), copy.data());
        }
        pidIdx = PidMapFields::NEXT_PID_IDX.get(row);
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
    uint32_t last = pidLutRow(base, 0)[0] & KEY_MASK;
    for (uint32_t row = 1; row < PID_LUT.rows; ++row) {
        const uint32_t key = pidLutRow(base, row)[0] & KEY_MASK;
        if (key < last)
            return fmt::format("PID LUT: row {} of the active bank is not in order", row);
        if (key == last && key != STUFFING_KEY)
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
