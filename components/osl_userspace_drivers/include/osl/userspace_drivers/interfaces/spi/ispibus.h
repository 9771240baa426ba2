#pragma once

#include <osl/cpputils/error.h>

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace Osl::Spi {

struct SPIError : CppUtil::PrefixedError<"SPI Error: ">
{
    using PrefixedError::PrefixedError;
};

/// What a transfer is for, as error texts name it. The texts must outlive the transfer.
struct SpiAccess
{
    std::string_view slave;
    std::string_view operation; ///< "read", "write"
    uint32_t offset;            ///< in words of `width`
    unsigned width;             ///< bits
};

/// "max2871: write of 32 bits at offset 3".
std::string toString(const SpiAccess& access);

/// Part of a message: bytes out, bytes in, or both at once; both spans then have the same size.
struct SpiSegment
{
    std::span<const uint8_t> out;
    std::span<uint8_t> in; ///< owned by the caller, filled by the transfer
};

/// One slave position of an SPI bus: a bus and a chip select. All words are bytes.
class ISpiBus
{
public:
    /// Name of the position in messages.
    virtual const std::string& device() const = 0;

    /// Most bytes that one message can send, and most that it can receive.
    virtual std::size_t maxBytes() const = 0;

    /// Sets the mode bits of the kernel's SPI interface (SPI_CPHA, SPI_NO_CS …) for the messages that follow. Raises
    /// SPIError when the bus does not have them.
    virtual void setMode(uint32_t mode, const SpiAccess& access) = 0;

    /// Moves one message: the chip select is active from the first segment to the last and released at the end.
    /// Raises SPIError when not every byte was moved.
    virtual void transfer(std::span<const SpiSegment> segments, const SpiAccess& access) = 0;

    /// False when the bytes are only shown and nothing answers; what is received is then zero and means nothing.
    virtual bool answers() const { return true; }

    virtual ~ISpiBus() = default;
};

} // namespace Osl::Spi
