#pragma once

#include <osl/testing/fake_mem.h>
#include <osl/userspace_drivers/drivers/zeb/ts/tablelayout.h>

#include <array>
#include <cstdint>
#include <vector>

namespace Osl::Testing {

/// A block's memory for tests that break off an operation at every single access: nothing is logged, and the number of
/// accesses until the device fails is shared with the other block. Acts as the FPGA does where the IP LUT lies: writes
/// reach the spare bank, reads the active one.
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
        std::vector<uint32_t> values;
        for (uint32_t i = offset; i < offset + count; ++i) {
            step();
            values.push_back(inIpLut(i) ? ipLut()[i - IP_LUT.activeBase[0]] : words.at(i));
        }
        return values;
    }
    void writeBlock32(uint32_t offset, const std::vector<uint32_t>& values) override
    {
        for (const uint32_t value : values) {
            step();
            if (inIpLut(offset))
                ipLutBanks[~words[IP_LUT.bankWord] & 1].at(offset - IP_LUT.activeBase[0]) = value;
            else
                words.at(offset) = value;
            ++offset;
        }
    }

    /// The banks of which the FPGA now uses the one that the control word selects.
    std::vector<uint32_t>& ipLut() { return ipLutBanks[words[IP_LUT.bankWord] & 1]; }
    std::vector<uint32_t> pidLut() const
    {
        const auto first = words.begin() + PID_LUT.active(words[PID_LUT.bankWord]);
        return {first, first + PID_LUT.words()};
    }

    std::array<std::vector<uint32_t>, 2> ipLutBanks;

private:
    static constexpr const auto& PID_LUT = Drivers::Zeb::PID_LUT;
    static constexpr const auto& IP_LUT = Drivers::Zeb::IP_LUT;

    bool inIpLut(uint32_t offset) const
    {
        return m_HasIpLut && offset >= IP_LUT.activeBase[0] && offset < IP_LUT.activeBase[0] + IP_LUT.words();
    }
    void step()
    {
        if (m_AccessesLeft == 0)
            OSL_RAISE(Drivers::DevMemError, "fake device fails");
        --m_AccessesLeft;
        ++accesses;
    }

    bool m_HasIpLut;
    std::size_t& m_AccessesLeft;
};

} // namespace Osl::Testing
