#include <osl/userspace_drivers/interfaces/spi/registerslave.h>

#include <fmt/format.h>

#include <algorithm>
#include <array>

namespace Osl::Spi {

RegisterSlave::RegisterSlave(ISpiBus& bus, const Framing& framing, Unverified unverified)
    : SPISlaveIF(bus, framing.slave),
      m_Framing(framing),
      m_Unverified(unverified)
{
    checkFraming();
}

void RegisterSlave::checkFraming() const
{
    const auto raiseUnless = [this](bool good, const std::string& problem) {
        if (!good)
            OSL_RAISE(SPIError, fmt::format("{}: {}: {}", m_Bus.device(), m_Framing.slave, problem));
    };
    const Framing& f = m_Framing;
    raiseUnless(
        f.addressBits >= 1 && f.addressBits <= 32 && (f.codeBits + f.addressBits) % 8 == 0,
        fmt::format("{} address bits after a code of {} bits: together they must be whole bytes, and at most 32 bits",
                    f.addressBits, f.codeBits));
    raiseUnless(f.dataBits == 8 || f.dataBits == 16 || f.dataBits == 32,
                fmt::format("registers of {} bits: expected 8, 16 or 32", f.dataBits));
    raiseUnless(f.dummyBytes <= 16, fmt::format("{} dummy bytes are not in 0..16", f.dummyBytes));
    raiseUnless(f.readCode != f.writeCode && std::max(f.readCode, f.writeCode) >> f.codeBits == 0,
                fmt::format("the codes for reading ({:#x}) and writing ({:#x}) must differ and fit {} bits", f.readCode,
                            f.writeCode, f.codeBits));
}

RegisterSlave::Range RegisterSlave::rangeOf(const SpiAccess& access, std::size_t count) const
{
    if (access.width % m_Framing.dataBits != 0)
        refuse(access, fmt::format("a register has {} bits and is accessed as a whole", m_Framing.dataBits));
    const uint32_t perWord = access.width / m_Framing.dataBits;
    if (perWord > 1 && m_Framing.wideAccess == WideAccess::REFUSE)
        refuse(access, fmt::format("only accesses of {} bits are allowed", m_Framing.dataBits));
    const uint64_t registers = uint64_t{1} << m_Framing.addressBits;
    const uint64_t first = uint64_t{access.offset} * perWord;
    if (first + uint64_t{count} * perWord > registers)
        refuse(access, fmt::format("{} words from there on pass the end of the {} registers of {} bits", count,
                                   registers, m_Framing.dataBits));
    return {static_cast<uint32_t>(first), static_cast<uint32_t>(count * perWord), perWord};
}

uint32_t RegisterSlave::positionInWord(const Range& range, uint32_t index) const
{
    const uint32_t position = index % range.perWord;
    return (m_Framing.wideAccess == WideAccess::BIG ? range.perWord - 1 - position : position) * m_Framing.dataBits;
}

std::size_t RegisterSlave::registersPerFrame(std::size_t overheadBytes) const
{
    return m_Framing.burst ? (m_Bus.maxBytes() - overheadBytes) / (m_Framing.dataBits / 8) : 1;
}

std::vector<uint8_t> RegisterSlave::header(uint32_t code, uint32_t address) const
{
    const uint64_t value = uint64_t{code} << m_Framing.addressBits | address;
    std::vector<uint8_t> bytes;
    for (uint32_t shift = m_Framing.codeBits + m_Framing.addressBits; shift > 0; shift -= 8)
        bytes.push_back(static_cast<uint8_t>(value >> (shift - 8)));
    return bytes;
}

uint32_t RegisterSlave::decode(const uint8_t* bytes) const
{
    const uint32_t size = m_Framing.dataBits / 8;
    uint32_t value = 0;
    for (uint32_t i = 0; i < size; ++i)
        value = value << 8 | bytes[m_Framing.byteOrder == ByteOrder::BIG ? i : size - 1 - i];
    return value;
}

void RegisterSlave::encode(uint32_t value, uint8_t* bytes) const
{
    const uint32_t size = m_Framing.dataBits / 8;
    for (uint32_t i = 0; i < size; ++i)
        bytes[m_Framing.byteOrder == ByteOrder::BIG ? size - 1 - i : i] = static_cast<uint8_t>(value >> 8 * i);
}

void RegisterSlave::checkRead(uint32_t offset, uint32_t count, unsigned width) const
{
    rangeOf(reading(offset, width), count);
}

std::vector<uint32_t> RegisterSlave::readWords(uint32_t offset, uint32_t count, unsigned width)
{
    const Range range = rangeOf(reading(offset, width), count);
    const std::size_t perFrame = registersPerFrame(0); // header and data lie in opposite directions
    const std::size_t registerBytes = m_Framing.dataBits / 8;
    std::vector<uint32_t> words(count, 0);
    std::vector<uint8_t> data;
    for (uint32_t done = 0; done < range.count;) {
        const auto now = static_cast<uint32_t>(std::min<std::size_t>(perFrame, range.count - done));
        std::vector<uint8_t> out = header(m_Framing.readCode, range.first + done);
        out.resize(out.size() + m_Framing.dummyBytes, 0);
        data.assign(now * registerBytes, 0);
        // Out and in one after the other, so that half-duplex controllers and three-wire slaves can do it too.
        const std::array<SpiSegment, 2> frame{SpiSegment{out, {}}, SpiSegment{{}, data}};
        m_Bus.transfer(frame, reading(offset + done / range.perWord, width));
        for (uint32_t i = 0; i < now; ++i, ++done)
            words[done / range.perWord] |= decode(&data[i * registerBytes]) << positionInWord(range, done);
    }
    return words;
}

void RegisterSlave::writeWords(uint32_t offset, const std::vector<uint32_t>& values, unsigned width)
{
    const Range range = rangeOf(writing(offset, width), values.size());
    if (!m_Framing.verified && m_Unverified == Unverified::REFUSE_WRITES && m_Bus.answers())
        refuse(writing(offset, width),
               "how this slave's registers are written has not been verified, so a write might change "
               "anything; \"force\" writes anyway, \"dry_run\" shows the bytes");
    const std::size_t registerBytes = m_Framing.dataBits / 8;
    const std::size_t perFrame = registersPerFrame(header(0, 0).size());
    for (uint32_t done = 0; done < range.count;) {
        const uint32_t first = done;
        const auto now = static_cast<uint32_t>(std::min<std::size_t>(perFrame, range.count - done));
        std::vector<uint8_t> out = header(m_Framing.writeCode, range.first + first);
        const std::size_t headerBytes = out.size();
        out.resize(headerBytes + now * registerBytes);
        for (uint32_t i = 0; i < now; ++i, ++done)
            encode(values[done / range.perWord] >> positionInWord(range, done), &out[headerBytes + i * registerBytes]);
        const SpiSegment frame{out, {}};
        m_Bus.transfer({&frame, 1}, writing(offset + first / range.perWord, width));
    }
}

} // namespace Osl::Spi
