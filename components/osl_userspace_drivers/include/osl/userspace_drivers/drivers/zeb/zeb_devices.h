#pragma once

#include <cstdint>

namespace Osl::Drivers::Zeb {

/// A function of the FPGA whose memory the kernel driver lets user space map.
struct MappedDevice
{
    const char* path;
    uint32_t mapSize; ///< bytes
};

/// The PID handling block: PID LUT, TSI MAP, O-PID MAP, filter table, stream counters.
inline constexpr MappedDevice PIDLUT_DEVICE{"/dev/zebtsif_pidlut", 0x20000};
/// The input/output block: IP LUT and the maps of physical and IP inputs and outputs.
inline constexpr MappedDevice IPLUT_DEVICE{"/dev/zebtsif_iplut", 0x4000};
/// The registers of the packet port.
inline constexpr MappedDevice PKTIO_DEVICE{"/dev/zebtsif_pktio_dbg", 0x1000};

/// The scrambler, mapped in the size that its bar size attribute gives.
inline constexpr const char* SCM_DEVICE_PATH = "/dev/scm";

/// Stream device of the packets that the FPGA routes to the processor, one record a read.
inline constexpr const char* PKTIO_RX_PATH = "/dev/zebtsif_pktio_rx";
/// TX DMA channel devices: the path and the channel's number behind it.
inline constexpr const char* PKTIO_TX_PATH = "/dev/zebtsif_pktio_tx";
inline constexpr unsigned PKTIO_TX_CHANNELS = 4;

} // namespace Osl::Drivers::Zeb
