#pragma once

// A board whose routing a test can ask for after each word that is stored, by a model of the FPGA's look-up that shares
// nothing with the code under test.

#include <osl/testing/failing_block.h>
#include <osl/zeb_routing/facts.h>
#include <osl/zeb_routing/plan.h>
#include <osl/zeb_routing/tables.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <functional>
#include <utility>
#include <vector>

namespace Osl::Testing {

/// A block that lets a test look after each word that is stored.
class WatchedBlock : public FailingBlock
{
public:
    using FailingBlock::FailingBlock;

    void write32(uint32_t offset, uint32_t value) override
    {
        FailingBlock::write32(offset, value);
        if (onWrite)
            onWrite(offset);
    }
    void writeBlock32(uint32_t offset, const std::vector<uint32_t>& values) override
    {
        for (const uint32_t value : values) {
            FailingBlock::writeBlock32(offset, {value});
            if (onWrite)
                onWrite(offset);
            ++offset;
        }
    }

    std::function<void(uint32_t offset)> onWrite;
};

struct WatchedBoard
{
    std::size_t accessesLeft = SIZE_MAX;
    WatchedBlock pid{Drivers::Zeb::TableBlock::PID, 0x8000, accessesLeft};
    WatchedBlock io{Drivers::Zeb::TableBlock::IO, 0x1000, accessesLeft};

    ZebRouting::Tables tables() { return ZebRouting::Tables::read(pid, io); }
    void execute(const ZebRouting::Plan& plan)
    {
        ZebRouting::execute(plan, pid, io, [] {});
    }
    void copyFrom(const WatchedBoard& other)
    {
        pid.words = other.pid.words;
        io.words = other.io.words;
        io.ipLutBanks = other.io.ipLutBanks;
    }
};

/// Where the copies of a packet go, by the hardware's own rules: (TSO, PID), and (1000 + filter, PID) to the processor.
using PacketCopies = std::vector<std::pair<uint32_t, uint32_t>>;

inline PacketCopies lookUp(const std::vector<uint32_t>& memory, uint32_t tsi, uint32_t pid)
{
    PacketCopies copies;
    uint32_t list = 0;
    const uint32_t bank = (memory[129] & 1) == 0 ? 8192 : 12288;
    uint32_t low = 0;
    uint32_t high = 2048;
    const uint32_t key = tsi << 13 | pid;
    while (low < high && key != 0x1FFFFF) {
        const uint32_t middle = (low + high) / 2;
        const uint32_t found = memory[bank + 2 * middle] & 0x1FFFFF;
        if (found == key) {
            const uint32_t row = memory[bank + 2 * middle + 1];
            if ((row & 0x2000) != 0)
                copies.emplace_back(1000 + (row >> 24), pid);
            list = (row & 0x1000) != 0 ? row & 0xFFF : 0;
            break;
        }
        (found < key ? low : high) = found < key ? middle + 1 : middle;
    }
    if (low >= high || key == 0x1FFFFF) {
        const uint32_t row = memory[256 + tsi];
        list = (row & 0x1000) != 0 ? row & 0xFFF : 0;
    }
    for (int steps = 0; list != 0; ++steps) {
        if (steps == 4096) {
            copies.emplace_back(UINT32_MAX, 0); // over and over
            break;
        }
        const uint32_t row = memory[16384 + 2 * list];
        if ((row & 1U << 22) != 0)
            copies.emplace_back(row & 0xFF, (row & 1U << 21) != 0 ? row >> 8 & 0x1FFF : pid);
        list = memory[16384 + 2 * list + 1] & 0xFFF;
    }
    std::sort(copies.begin(), copies.end());
    return copies;
}

inline constexpr std::array<uint32_t, 4> TSIS{0, 3, 9, 255};
inline constexpr std::array<uint32_t, 10> PIDS{0, 1, 2, 3, 16, 0x100, 0x101, 0x1FF, 8190, 8191};

using AllCopies = std::vector<PacketCopies>;

inline AllCopies lookUpAll(const std::vector<uint32_t>& memory)
{
    AllCopies all;
    for (const uint32_t tsi : TSIS)
        for (const uint32_t pid : PIDS)
            all.push_back(lookUp(memory, tsi, pid));
    return all;
}

/// What the facts say.
inline AllCopies wantedCopies(const ZebRouting::Routing& routing)
{
    AllCopies all;
    for (const uint32_t tsi : TSIS) {
        for (const uint32_t pid : PIDS) {
            PacketCopies own;
            PacketCopies rest;
            bool hasOwn = false;
            for (const auto& [packets, to] : routing.routes) {
                if (packets.tsi != tsi || (!packets.isWholeTsi() && packets.pid != pid))
                    continue;
                hasOwn = hasOwn || !packets.isWholeTsi();
                PacketCopies& copies = packets.isWholeTsi() ? rest : own;
                if (to.isOutput())
                    copies.emplace_back(to.tso(), to.newPid().value_or(static_cast<uint16_t>(pid)));
                else if (to.isCpu())
                    copies.emplace_back(1000U + to.filter(), pid);
            }
            all.push_back(hasOwn ? own : rest);
            std::sort(all.back().begin(), all.back().end());
        }
    }
    return all;
}

} // namespace Osl::Testing
