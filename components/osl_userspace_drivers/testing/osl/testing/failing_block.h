#pragma once

#include <osl/cpputils/assertion.h>
#include <osl/testing/fake_mem.h>
#include <osl/userspace_drivers/drivers/zeb/scm/scmlayout.h>
#include <osl/userspace_drivers/drivers/zeb/ts/tablelayout.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <vector>

namespace Osl::Testing {

/// A block's memory for tests that break off an operation at every single access, thousands of times: nothing is
/// logged, blocks are moved as blocks, and the number of accesses until the device fails is shared with the other
/// block. Acts as the FPGA does where the IP LUT lies: writes reach the spare bank, reads the active one.
class FailingBlock : public FakeMem
{
public:
    FailingBlock(Drivers::Zeb::TableBlock block, uint32_t wordCount, std::size_t& accessesLeft)
        : FakeMem(wordCount),
          m_HasIpLut(block == Drivers::Zeb::TableBlock::IO),
          m_AccessesLeft(accessesLeft)
    {
        for (std::vector<uint32_t>& bank : ipLutBanks)
            bank.assign(IP_LUT.words(), 0);
    }

    uint32_t read32(uint32_t offset) override
    {
        step();
        return words.at(offset);
    }
    void write32(uint32_t offset, uint32_t value) override
    {
        step();
        words.at(offset) = value;
    }
    std::vector<uint32_t> readBlock32(uint32_t offset, uint32_t count) override
    {
        step(count);
        const uint32_t* const from = place(ipLut(), offset, count);
        return {from, from + count};
    }
    void writeBlock32(uint32_t offset, const std::vector<uint32_t>& values) override
    {
        uint32_t* const to = place(ipLutBanks[~words[IP_LUT.bankWord] & 1], offset, values.size());
        std::copy_n(values.begin(), std::min(values.size(), m_AccessesLeft), to);
        step(values.size());
    }

    /// The banks of which the FPGA now uses the one that the control word selects.
    std::vector<uint32_t>& ipLut() { return ipLutBanks[words[IP_LUT.bankWord] & 1]; }
    /// The bank in use of a table whose banks lie apart.
    std::vector<uint32_t> inUse(const Drivers::Zeb::TableLayout& table) const
    {
        const auto first = words.begin() + table.active(words[table.bankWord]);
        return {first, first + table.words()};
    }

    std::array<std::vector<uint32_t>, 2> ipLutBanks;

private:
    static constexpr const auto& IP_LUT = Drivers::Zeb::IP_LUT;

    uint32_t* place(std::vector<uint32_t>& ipLutBank, uint32_t offset, std::size_t count)
    {
        const bool inIpLut =
            m_HasIpLut && offset >= IP_LUT.activeBase[0] && offset < IP_LUT.activeBase[0] + IP_LUT.words();
        std::vector<uint32_t>& memory = inIpLut ? ipLutBank : words;
        const std::size_t first = inIpLut ? offset - IP_LUT.activeBase[0] : offset;
        OSL_ASSERT(first + count <= memory.size());
        return memory.data() + first;
    }

    void step(std::size_t count = 1)
    {
        if (m_AccessesLeft < count) {
            m_AccessesLeft = 0;
            OSL_RAISE(Drivers::DevMemError, "fake device fails");
        }
        m_AccessesLeft -= count;
        accesses += count;
    }

    bool m_HasIpLut;
    std::size_t& m_AccessesLeft;
};

/// All blocks, failing at one access.
struct FailingBoard
{
    static constexpr uint32_t PID_WORDS = 0x20000 / 4;
    static constexpr uint32_t IO_WORDS = 0x4000 / 4;
    static constexpr uint32_t SCM_WORDS = 2048;

    std::size_t accessesLeft = SIZE_MAX;
    FailingBlock pid{Drivers::Zeb::TableBlock::PID, PID_WORDS, accessesLeft};
    FailingBlock io{Drivers::Zeb::TableBlock::IO, IO_WORDS, accessesLeft};
    FailingBlock scm{Drivers::Zeb::TableBlock::SCM, SCM_WORDS, accessesLeft};
};

} // namespace Osl::Testing
