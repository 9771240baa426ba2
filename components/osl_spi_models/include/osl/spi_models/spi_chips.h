#pragma once

#include <fmt/format.h>

#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <utility>

namespace Osl::SpiModels {

/// What is at the other end of an SPI bus. Chips keep what they hold in memory that their owner gives them, and tell
/// the owner in a line of text what they did.
class SpiChip
{
public:
    using Log = std::function<void(const std::string& line)>;

    virtual ~SpiChip() = default;
    virtual void select() {}
    virtual void deselect() {}
    /// Clocks one byte out to the chip and returns the one that comes back, the most significant bit first.
    /// `secondEdge`: data is taken at the second, falling edge of each clock, and changes at the first (CPHA).
    virtual uint8_t clockByte(uint8_t out, bool secondEdge) = 0;
};

/// A position without a chip: the line back is pulled up.
class AbsentChip : public SpiChip
{
public:
    uint8_t clockByte(uint8_t, bool) override { return 0xFF; }
};

/// The synthesiser, bit by bit: a shift register of 32 bits that follows the data line at each rising edge while the
/// chip select is active and takes effect when that is released. Words of its memory: registers 0 to 6, then the shift
/// register and the rising edges since the address of register 6 was latched.
class Max2871Chip : public SpiChip
{
public:
    static constexpr std::size_t WORDS = 9;
    static constexpr uint32_t IDLE = 1000; ///< edges when no read is going on
    static constexpr std::array<uint32_t, WORDS> RESET{0x007D0000, 0x2000FFF9, 0x00004042, 0x0000000B, 0x6180B23C,
                                                       0x00400005, 0x708581BE, 0,          IDLE};

    Max2871Chip(std::span<uint32_t> memory, Log log) : m_Memory(memory), m_Log(std::move(log)) {}

    void select() override { m_Selected = true; }

    void deselect() override
    {
        m_Selected = false;
        const uint32_t word = m_Memory[SHIFT];
        const uint32_t number = word & 7;
        m_Log(fmt::format("latch {} {:#010x}", number, word));
        m_Memory[EDGES] = number == 6 ? 0 : IDLE;
        if (number < 6)
            m_Memory[number] = word;
    }

    uint8_t clockByte(uint8_t out, bool secondEdge) override
    {
        uint8_t in = 0;
        for (unsigned bit = 8; bit-- > 0;) {
            const bool data = (out >> bit & 1U) != 0;
            if (secondEdge) {
                risingEdge(); // the data line still is where the bit before left it
                m_Data = data;
            } else {
                m_Data = data;
            }
            in = static_cast<uint8_t>(in << 1 | (muxLevel() ? 1 : 0));
            if (!secondEdge)
                risingEdge();
        }
        return in;
    }

private:
    static constexpr std::size_t STATUS = 6;
    static constexpr std::size_t SHIFT = 7;
    static constexpr std::size_t EDGES = 8;

    void risingEdge()
    {
        if (m_Selected)
            m_Memory[SHIFT] = m_Memory[SHIFT] << 1 | (m_Data ? 1U : 0U);
        if (m_Memory[EDGES] < IDLE)
            ++m_Memory[EDGES];
    }

    bool muxLevel() const
    {
        const uint32_t code = (m_Memory[5] >> 18 & 1) << 3 | (m_Memory[2] >> 26 & 7);
        if (code != 12)
            return true; // nothing drives the line
        const uint32_t edges = m_Memory[EDGES];
        return edges >= 2 && edges < 34 && (m_Memory[STATUS] >> (33 - edges) & 1) != 0;
    }

    std::span<uint32_t> m_Memory;
    Log m_Log;
    bool m_Selected = false;
    bool m_Data = false;
};

/// A chip of registers: the bytes of a frame are a head, then data, with the address counting up from there.
class RegisterChip : public SpiChip
{
public:
    void select() override { m_Position = 0; }

    uint8_t clockByte(uint8_t out, bool) override { return take(m_Position++, out); }

protected:
    virtual uint8_t take(std::size_t position, uint8_t out) = 0;

private:
    std::size_t m_Position = 0;
};

/// The RF DAC: an R/W bit (1 reads) and 7 address bits, then a byte of one of 128 registers. It takes one register a
/// frame and ignores what follows.
class Max5868Chip : public RegisterChip
{
public:
    static constexpr std::size_t BYTES = 128;

    Max5868Chip(std::span<uint8_t> memory, Log log) : m_Memory(memory), m_Log(std::move(log)) {}

protected:
    uint8_t take(std::size_t position, uint8_t out) override
    {
        if (position == 0)
            m_Head = out;
        if (position != 1)
            return 0xFF;
        const unsigned address = m_Head & 0x7FU;
        if ((m_Head & 0x80U) != 0) {
            m_Log(fmt::format("read {:#04x}", address));
            return m_Memory[address];
        }
        m_Memory[address] = out;
        m_Log(fmt::format("write {:#04x} {:#04x}", address, out));
        return 0xFF;
    }

private:
    std::span<uint8_t> m_Memory;
    Log m_Log;
    uint8_t m_Head = 0;
};

/// The FPGA's port: command 3 (read) or 2 (write), 16 bits of address, words of 32 bits.
class FpgaPortChip : public RegisterChip
{
public:
    static constexpr std::size_t WORDS = 0x10000;

    FpgaPortChip(std::span<uint32_t> memory, Log log) : m_Memory(memory), m_Log(std::move(log)) {}

protected:
    uint8_t take(std::size_t position, uint8_t out) override
    {
        constexpr std::size_t HEAD = 3;
        if (position < HEAD) {
            m_Head = (position == 0 ? 0 : m_Head << 8) | out;
            return 0xFF;
        }
        const std::size_t byte = (position - HEAD) % 4;
        const uint32_t address = ((m_Head & 0xFFFFU) + static_cast<uint32_t>((position - HEAD) / 4)) % WORDS;
        if (m_Head >> 16 == 3) {
            if (byte == 0)
                m_Log(fmt::format("read {:#06x}", address));
            return static_cast<uint8_t>(m_Memory[address] >> (24 - 8 * byte));
        }
        m_Word = m_Word << 8 | out;
        if (m_Head >> 16 == 2 && byte == 3) {
            m_Memory[address] = m_Word;
            m_Log(fmt::format("write {:#06x} {:#010x}", address, m_Word));
        }
        return 0xFF;
    }

private:
    std::span<uint32_t> m_Memory;
    Log m_Log;
    uint32_t m_Head = 0;
    uint32_t m_Word = 0;
};

} // namespace Osl::SpiModels
