#pragma once

#include <osl/linutils/raii_filedescriptors.h>
#include <osl/ts_streaming/outputs/pcrsegwriter.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace Osl::Ts::Streaming {

/// What the value in a TX packet header means to the FPGA; bits 31..30 of that header.
enum class DesignatorMode : unsigned {
    TSI = 0,    ///< transport stream input index, 0-255
    PIDIDX = 1, ///< PID index, 1-4095
    TSO = 3,    ///< transport stream output index, 0-255
};

/// Header word of a TX packet, mode << 30 | value. Raises InvalidArgumentError when `mode` is no DesignatorMode or
/// `value` is out of its range.
uint32_t txHeader(unsigned mode, unsigned value);

/// Writes segments to a TX DMA channel, one transfer each, all numbers big-endian:
///
///     0         ticks of 27 MHz per packet (duration / packets)
///     4         the rest of that division
///     8..63     zero
///     64+192*i  packet i: txHeader(), bit 24 set on the last packet of a segment that has a duration;
///               then its 188 bytes
class ZebPcrWriter : public PcrSegmentingWriter::HwWriter
{
public:
    static constexpr std::size_t SEGMENT_HEAD_SIZE = 64;
    static constexpr std::size_t RECORD_SIZE = 4 + TS_SIZE;
    static constexpr uint64_t SPACING_LIMIT = 0x100000; ///< ticks per packet, first value refused
    static constexpr uint64_t REMAINDER_LIMIT = 4096;   ///< ticks, first value refused

    /// Opens the device of `channel`, 0-3, for reading and writing. `mode` is a DesignatorMode; raises
    /// InvalidArgumentError when mode, value or channel are out of range, before anything is opened, and the opening's
    /// FileSystemError.
    ZebPcrWriter(unsigned channel, unsigned mode, unsigned value);
    /// The same over channel devices whose paths start with `devicePrefix`.
    ZebPcrWriter(unsigned channel, unsigned mode, unsigned value, const std::string& devicePrefix);

    /// Raises WriteError (PACING) when the device cannot express the spacing; nothing was written then. A short or
    /// failed write is answered, not raised.
    ssize_t write(const uint8_t* buffer, std::size_t bytes, uint64_t durationTicks) override;

    /// Writes what the last transfer holds from byte `from` on; answers as write(2).
    ssize_t writeRest(std::size_t from);

    /// Bytes of the last transfer.
    std::size_t transferSize() const { return m_TransferSize; }
    int descriptor() const { return *m_Channel; }

private:
    void grow(std::size_t bytes);

    uint32_t m_Header;
    std::shared_ptr<int> m_Channel;
    std::vector<uint8_t> m_Buffer; ///< grows to the largest transfer and stays
    std::size_t m_TransferSize = 0;
};

} // namespace Osl::Ts::Streaming
