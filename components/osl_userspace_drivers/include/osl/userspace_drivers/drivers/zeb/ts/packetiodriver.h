#pragma once

#include <osl/userspace_drivers/drivers/basedriver.h>
#include <osl/userspace_drivers/interfaces/iioif.h>
#include <osl/userspace_drivers/interfaces/imemif.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace Osl::Drivers::Zeb {

/// Registers of the packet port, as word indices into its memory.
namespace PktIoReg {
inline constexpr uint32_t RX_STATUS = 16;  ///< non-zero while a received packet waits
inline constexpr uint32_t RX_CONTROL = 17; ///< setting bit 0 releases the waiting packet
inline constexpr uint32_t RX_HEADER = 20;
inline constexpr uint32_t RX_DATA = 64;    ///< 47 words
inline constexpr uint32_t TX_STATUS = 32;  ///< non-zero while the port can take a packet
inline constexpr uint32_t TX_CONTROL = 33; ///< writing 1 sends the loaded packet
inline constexpr uint32_t TX_HEADER = 36;
inline constexpr uint32_t TX_DATA = 128; ///< 47 words
inline constexpr uint32_t RESET = 258;   ///< 1, then 0
inline constexpr uint32_t TS_WORDS = 47;
} // namespace PktIoReg

/// The packet port of the FPGA: takes and hands over one record at a time, by hand-shake over its registers. A record
/// is 192 bytes, a header word and the 188 bytes of a TS packet; byte 3 of a received header is the TSI that the packet
/// came from. One user of the port at a time.
class PktIODriver : public BaseDriver
{
public:
    static constexpr std::size_t HEADER_SIZE = 4;      ///< bytes
    static constexpr std::size_t TOTAL_PKT_SIZE = 192; ///< bytes

    /// Waits a millisecond; what it raises passes through the driver. Empty: sleeps.
    using Pause = std::function<void()>;

    explicit PktIODriver(std::shared_ptr<IMemIf> pktIoMemIf, Pause pause = {});
    /// With `ioIf`, which the driver takes over, packets are received from there instead.
    PktIODriver(std::shared_ptr<IMemIf> pktIoMemIf, std::unique_ptr<IIOIf> ioIf, Pause pause = {});

    std::string getName() const override;
    std::string getDescription() const override;
    virtual void reset();
    virtual std::size_t getCustomHeaderLength() const { return HEADER_SIZE; }
    virtual std::size_t getCustomPacketLength() const { return TOTAL_PKT_SIZE; }

    /// Stores a record in the 48 words at `pBuffer` and returns true; false when none came within `timeout` pauses, 0
    /// being a single look. Over a stream the time-out is the stream's own, and only whole records count.
    virtual bool readPacket(uint32_t* pBuffer, const uint64_t& timeout);

    /// Sends the record of 48 words at `pBuffer`. Blocks, without a limit, until the port is free.
    virtual void writePacket(const uint32_t* pBuffer);
    /// Sends the TS packet of 47 words at `pBuffer` behind `header`.
    virtual void writePacket(const uint32_t* pBuffer, uint32_t header);

private:
    void checkLengths() const;
    bool takePacket(uint32_t* record);

    std::shared_ptr<IMemIf> m_PktIoMemIf;
    std::unique_ptr<IIOIf> m_OptIOIF;
    Pause m_Pause;
};

} // namespace Osl::Drivers::Zeb
