#pragma once

namespace Osl::Drivers::Zeb {

/// Attribute files of the board's kernel drivers. Tables are 32-bit words in the machine's byte order, sizes text.

/// The multicast NOT filter of the network interface: its table, and the number of entries in decimal.
inline constexpr const char* MCNOTLUT_ATTRIBUTE = "/sys/class/net/sfp/mcnotlut";
inline constexpr const char* MCNOTLUT_SIZE_ATTRIBUTE = "/sys/class/net/sfp/mcnotlut_size";

/// The CAM monitor of each slot: a folder for each, whose name ends with the slot's number, and in it the number of
/// entries in decimal and three tables of that size.
inline constexpr const char* CAM_SLOT_FOLDER = "/sys/class/zebdvbci/ci_slot0:";
inline constexpr const char* CAM_SIZE_ATTRIBUTE = "mon_size";
inline constexpr const char* CAM_PID_ATTRIBUTE = "mon_pidtab";
inline constexpr const char* CAM_PACKETS_ATTRIBUTE = "mon_pktcntrs";
inline constexpr const char* CAM_ERRORS_ATTRIBUTE = "mon_errcntrs";

/// Bytes of the scrambler's memory that can be mapped, decimal or "0x".
inline constexpr const char* SCM_BARSIZE_ATTRIBUTE = "/sys/class/zebscm/scm/barsize";

/// Bytes received through the packet port, decimal.
inline constexpr const char* PKTIO_RX_BYTES_ATTRIBUTE = "/sys/class/zebtsif/zebtsif_pktio_rx/bytesrx";
/// Bytes sent through a TX DMA channel, decimal; {} is the channel's number.
inline constexpr const char* PKTIO_TX_BYTES_ATTRIBUTE = "/sys/class/zebtsif/zebtsif_pktio_tx{}/bytestx";

} // namespace Osl::Drivers::Zeb
