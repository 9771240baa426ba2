#pragma once

#include <osl/userspace_drivers/drivers/zeb/zeb_devices.h>
#include <osl/userspace_drivers/interfaces/pci/pciif.h>
#include <osl/zeb_routing/source.h>

#include <chrono>
#include <thread>

namespace Osl::ZebRoute {

/// The memory of the board's blocks, open as long as this lives. Raises PciError for devices that are not there.
struct Board
{
    Pci::PciIf pid{Drivers::Zeb::PIDLUT_DEVICE.path, Drivers::Zeb::PIDLUT_DEVICE.mapSize, 0};
    Pci::PciIf io{Drivers::Zeb::IPLUT_DEVICE.path, Drivers::Zeb::IPLUT_DEVICE.mapSize, 0};

    ZebRouting::Tables tables() { return ZebRouting::Tables::read(pid, io); }
    ZebRouting::Source read() { return ZebRouting::Source::of(tables()); }
};

/// Waits until packets that are on their way through the lists have left.
inline void settle() { std::this_thread::sleep_for(std::chrono::milliseconds(1)); }

} // namespace Osl::ZebRoute
