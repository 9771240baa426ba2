#pragma once

#include <osl/userspace_drivers/drivers/zeb/ts/tablelayout.h>
#include <osl/userspace_drivers/drivers/zeb/zeb_devices.h>

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace Osl::VirtualBoard {

/// The scrambler; how much of it can be mapped is the kernel driver's to say.
inline constexpr Drivers::Zeb::MappedDevice SCM_DEVICE{Drivers::Zeb::SCM_DEVICE_PATH, 0x4000};

/// A device of the board whose memory can be mapped.
struct MemoryDevice
{
    const Drivers::Zeb::MappedDevice& device;
    std::optional<Drivers::Zeb::TableBlock> tables; ///< the tables that lie in it
};

inline constexpr std::array MEMORY_DEVICES{MemoryDevice{Drivers::Zeb::PIDLUT_DEVICE, Drivers::Zeb::TableBlock::PID},
                                           MemoryDevice{Drivers::Zeb::IPLUT_DEVICE, Drivers::Zeb::TableBlock::IO},
                                           MemoryDevice{Drivers::Zeb::PKTIO_DEVICE, std::nullopt},
                                           MemoryDevice{SCM_DEVICE, Drivers::Zeb::TableBlock::SCM}};

/// What the memory holds after a reset of the FPGA, in 32-bit words: every table full of stuffing rows, both banks
/// where there are two; everything else 0.
std::vector<uint32_t> resetState(const MemoryDevice& memory);

/// An attribute file of the board.
struct AttributeFile
{
    std::string path;
    std::string content; ///< after a reset
};

/// The attribute files that hold the board's state: no CAM slot watches a PID, no multicast address is filtered.
std::vector<AttributeFile> attributeFiles();

} // namespace Osl::VirtualBoard
