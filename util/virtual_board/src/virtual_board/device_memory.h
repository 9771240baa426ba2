#pragma once

#include <osl/userspace_drivers/drivers/zeb/zeb_devices.h>
#include <osl/userspace_drivers/interfaces/pci/pciif.h>

#include <atomic>
#include <csignal>
#include <cstdint>
#include <filesystem>

namespace Osl::VirtualBoard {

/// The mapped memory of one of the board's devices. It outlives what people do to the device's file: what is cut off
/// is there again, as zeros, as soon as the board looks at it. Memory for which there is no room ends the process, with
/// a message.
class DeviceMemory
{
public:
    /// Maps the device in the folder `root`. Raises what PciIf does.
    DeviceMemory(const std::filesystem::path& root, const Drivers::Zeb::MappedDevice& device);
    ~DeviceMemory();
    DeviceMemory(const DeviceMemory&) = delete;
    DeviceMemory& operator=(const DeviceMemory&) = delete;

    volatile uint32_t* words() const { return m_Words; }
    const std::filesystem::path& file() const { return m_File; }
    int descriptor() const { return m_Device.descriptor(); }

    /// Whether a part of the file had to be made anew since the last call.
    bool wasCut() { return m_Cut.exchange(false); }
    /// Whether the device's name leads to another file than the one that is mapped, or to none; said once.
    bool wasReplaced();

private:
    static void onBusError(int signal, siginfo_t* info, void* context);

    std::filesystem::path m_File;
    Pci::PciIf m_Device;
    volatile uint32_t* m_Words;
    uint32_t m_Bytes;
    std::atomic<bool> m_Cut = false;
    bool m_Replaced = false; ///< which was reported
};

} // namespace Osl::VirtualBoard
