#pragma once

#include <osl/userspace_drivers/interfaces/spi/spislaveif.h>

namespace Osl::Spi {

enum class ByteOrder { LITTLE, BIG };

/// How accesses wider than a register take the registers they cover: the lowest register least significant, most
/// significant, or not at all.
enum class WideAccess { LITTLE, BIG, REFUSE };

/// How a slave's registers are read and written: one frame, which is one pulse of the chip select, is
///     code, address, [dummy bytes, when reading,] data
/// the most significant bit first. Example: an R/W bit and 7 address bits, then a byte of data.
struct Framing
{
    std::string_view slave; ///< its name in messages
    uint32_t codeBits;      ///< 0..8; code and address together fill whole bytes
    uint32_t readCode;
    uint32_t writeCode;
    uint32_t addressBits; ///< 1..32, so a slave has 2^addressBits registers
    uint32_t dataBits;    ///< of a register: 8, 16 or 32
    uint32_t dummyBytes;  ///< 0..16
    ByteOrder byteOrder;  ///< on the wire, of registers wider than a byte
    WideAccess wideAccess;
    bool burst;    ///< the slave increments the address, so a block goes in as few frames as the bus allows
    bool verified; ///< against the slave's documentation or the slave itself
};

/// The FPGA's SPI port: a command byte, the register number in 16 bits, 32 bits of data.
inline constexpr Framing FPGA_FRAMING{.slave = "fpga",
                                      .codeBits = 8,
                                      .readCode = 0x03,
                                      .writeCode = 0x02,
                                      .addressBits = 16,
                                      .dataBits = 32,
                                      .dummyBytes = 0,
                                      .byteOrder = ByteOrder::BIG,
                                      .wideAccess = WideAccess::LITTLE,
                                      .burst = false,
                                      .verified = false};

/// The MAX5868 RF DAC: an R/W bit, 7 address bits, registers of a byte. That a register is a byte and that each is
/// accessed by itself is known; the rest is the usual shape of such parts.
inline constexpr Framing MAX5868_FRAMING{.slave = "max5868",
                                         .codeBits = 1,
                                         .readCode = 1,
                                         .writeCode = 0,
                                         .addressBits = 7,
                                         .dataBits = 8,
                                         .dummyBytes = 0,
                                         .byteOrder = ByteOrder::BIG,
                                         .wideAccess = WideAccess::LITTLE,
                                         .burst = false,
                                         .verified = false};

/// A slave whose registers are accessed by frames.
class RegisterSlave final : public SPISlaveIF
{
public:
    /// Whether an unverified framing may write: the wrong one can change any register, or the wrong chip.
    enum class Unverified { REFUSE_WRITES, ALLOW_WRITES };

    /// Raises SPIError when `framing` has values outside their ranges.
    RegisterSlave(ISpiBus& bus, const Framing& framing, Unverified unverified = Unverified::REFUSE_WRITES);

    unsigned registerBits() const override { return m_Framing.dataBits; }
    void checkRead(uint32_t offset, uint32_t count, unsigned width) const override;

private:
    std::vector<uint32_t> readWords(uint32_t offset, uint32_t count, unsigned width) override;
    void writeWords(uint32_t offset, const std::vector<uint32_t>& values, unsigned width) override;

    /// Registers behind a checked access.
    struct Range
    {
        uint32_t first;
        uint32_t count;
        uint32_t perWord;
    };

    void checkFraming() const;
    Range rangeOf(const SpiAccess& access, std::size_t count) const;
    uint32_t positionInWord(const Range& range, uint32_t index) const;
    std::size_t registersPerFrame(std::size_t overheadBytes) const;
    std::vector<uint8_t> header(uint32_t code, uint32_t address) const;
    uint32_t decode(const uint8_t* bytes) const;
    void encode(uint32_t value, uint8_t* bytes) const;

    Framing m_Framing;
    Unverified m_Unverified;
};

} // namespace Osl::Spi
