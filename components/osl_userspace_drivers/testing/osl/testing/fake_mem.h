#pragma once

#include <osl/userspace_drivers/interfaces/imemif.h>

#include <cstdint>
#include <optional>
#include <vector>

namespace Osl::Testing {

/// Device memory of 32-bit words in a vector. Logs every operation in order; can be told to fail at one access, where
/// each element of a block counts as an access of its own, as on the bus.
class FakeMem : public Drivers::IMemIf
{
public:
    using MemAccessType = Drivers::MemAccessType;

    struct Operation
    {
        MemAccessType type;
        uint32_t offset;
        std::vector<uint32_t> values; ///< elements read or written
        bool operator==(const Operation&) const = default;
    };

    explicit FakeMem(uint32_t wordCount) : words(wordCount, 0) {}

    /// The access with this running number (0 first), counted from now on, raises DevMemError and does nothing.
    void failAtAccess(std::size_t number) { m_AccessesLeft = number; }
    void neverFail() { m_AccessesLeft.reset(); }

    uint32_t read32(uint32_t offset) override { return read(offset, 1).front(); }
    void write32(uint32_t offset, uint32_t value) override { write(offset, {value}); }
    std::vector<uint32_t> readBlock32(uint32_t offset, uint32_t count) override { return read(offset, count); }
    void writeBlock32(uint32_t offset, const std::vector<uint32_t>& values) override { write(offset, values); }

    // Drivers access words alone.
    uint16_t read16(uint32_t) override { refuse(); }
    uint8_t read8(uint32_t) override { refuse(); }
    void write16(uint32_t, uint32_t) override { refuse(); }
    void write8(uint32_t, uint32_t) override { refuse(); }
    std::vector<uint16_t> readBlock16(uint32_t, uint32_t) override { refuse(); }
    std::vector<uint8_t> readBlock8(uint32_t, uint32_t) override { refuse(); }
    void writeBlock16(uint32_t, const std::vector<uint16_t>&) override { refuse(); }
    void writeBlock8(uint32_t, const std::vector<uint8_t>&) override { refuse(); }

    std::vector<uint32_t> words;
    std::vector<Operation> log;
    std::size_t accesses = 0; ///< elements read or written so far

private:
    void countAccess()
    {
        if (m_AccessesLeft && (*m_AccessesLeft)-- == 0) {
            m_AccessesLeft.reset();
            OSL_RAISE(Drivers::DevMemError, "fake device fails");
        }
        ++accesses;
    }

    [[noreturn]] static void refuse() { OSL_RAISE(Drivers::DevMemError, "fake device has words alone"); }

    std::vector<uint32_t> read(uint32_t offset, uint32_t count)
    {
        std::vector<uint32_t> values;
        for (uint32_t i = offset; i < offset + count; ++i) {
            countAccess();
            values.push_back(words.at(i));
        }
        log.push_back({MemAccessType::R32, offset, values});
        return values;
    }

    void write(uint32_t offset, const std::vector<uint32_t>& values)
    {
        for (uint32_t i = 0; i < values.size(); ++i) {
            countAccess();
            words.at(offset + i) = values[i];
        }
        log.push_back({MemAccessType::W32, offset, values});
    }

    std::optional<std::size_t> m_AccessesLeft;
};

} // namespace Osl::Testing
