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

    uint32_t read32(uint32_t offset) override { return read<uint32_t>(MemAccessType::R32, offset, 1).front(); }
    uint16_t read16(uint32_t offset) override { return read<uint16_t>(MemAccessType::R16, offset, 1).front(); }
    uint8_t read8(uint32_t offset) override { return read<uint8_t>(MemAccessType::R8, offset, 1).front(); }
    void write32(uint32_t offset, uint32_t value) override { write<uint32_t>(MemAccessType::W32, offset, {value}); }
    void write16(uint32_t offset, uint32_t value) override
    {
        write<uint16_t>(MemAccessType::W16, offset, {static_cast<uint16_t>(value)});
    }
    void write8(uint32_t offset, uint32_t value) override
    {
        write<uint8_t>(MemAccessType::W8, offset, {static_cast<uint8_t>(value)});
    }
    std::vector<uint32_t> readBlock32(uint32_t offset, uint32_t count) override
    {
        return read<uint32_t>(MemAccessType::R32, offset, count);
    }
    std::vector<uint16_t> readBlock16(uint32_t offset, uint32_t count) override
    {
        return read<uint16_t>(MemAccessType::R16, offset, count);
    }
    std::vector<uint8_t> readBlock8(uint32_t offset, uint32_t count) override
    {
        return read<uint8_t>(MemAccessType::R8, offset, count);
    }
    void writeBlock32(uint32_t offset, const std::vector<uint32_t>& values) override
    {
        write(MemAccessType::W32, offset, values);
    }
    void writeBlock16(uint32_t offset, const std::vector<uint16_t>& values) override
    {
        write(MemAccessType::W16, offset, values);
    }
    void writeBlock8(uint32_t offset, const std::vector<uint8_t>& values) override
    {
        write(MemAccessType::W8, offset, values);
    }

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

    /// Lowest bit of element `index` inside its word; elements are little-endian in the word, as on the device.
    template <class Element>
    static uint32_t shiftOf(uint32_t index)
    {
        return index % (4 / sizeof(Element)) * sizeof(Element) * 8;
    }

    template <class Element>
    uint32_t& wordOf(uint32_t index)
    {
        return words.at(index / (4 / sizeof(Element)));
    }

    template <class Element>
    std::vector<Element> read(MemAccessType type, uint32_t offset, uint32_t count)
    {
        std::vector<Element> values;
        for (uint32_t i = offset; i < offset + count; ++i) {
            countAccess();
            values.push_back(static_cast<Element>(wordOf<Element>(i) >> shiftOf<Element>(i)));
        }
        log.push_back({type, offset, {values.begin(), values.end()}});
        return values;
    }

    template <class Element>
    void write(MemAccessType type, uint32_t offset, const std::vector<Element>& values)
    {
        uint32_t i = offset;
        for (const Element value : values) {
            countAccess();
            constexpr uint32_t ONES = static_cast<Element>(~Element{0});
            uint32_t& word = wordOf<Element>(i);
            word = (word & ~(ONES << shiftOf<Element>(i))) | uint32_t{value} << shiftOf<Element>(i);
            ++i;
        }
        log.push_back({type, offset, {values.begin(), values.end()}});
    }

    std::optional<std::size_t> m_AccessesLeft;
};

} // namespace Osl::Testing
