#pragma once

#include <osl/userspace_drivers/drivers/zeb/ts/receiveport.h>
#include <osl/userspace_drivers/drivers/zeb/zeb_devices.h>
#include <osl/userspace_drivers/interfaces/pci/pciif.h>

#include <array>
#include <chrono>
#include <functional>
#include <memory>

namespace Osl::ZebRoute {

/// What the board sends to the processor, by the stream device. Nobody else takes packets there meanwhile; where
/// somebody does already, LinuxCppUtil::LockError is raised. A capture by the port's registers has its own copies.
class PacketTap
{
public:
    /// `stopped` ends waits.
    explicit PacketTap(std::function<bool()> stopped);

    /// The next packet of the TSI, 188 bytes that hold until the next call; null when none comes for a short while, or
    /// when `isPatient` is not set and none waits.
    const uint8_t* next(uint8_t tsi, bool isPatient);
    /// Forgets all that waits.
    void discardWaiting();

private:
    using Registers = Pci::PciIf;

    std::function<bool()> m_Stopped;
    std::shared_ptr<Registers> m_Registers =
        std::make_shared<Registers>(Drivers::Zeb::PKTIO_DEVICE.path, Drivers::Zeb::PKTIO_DEVICE.mapSize, 0);
    Drivers::Zeb::ReceivePort m_Port;
    std::array<uint32_t, Drivers::Zeb::PktIODriver::TOTAL_PKT_SIZE / sizeof(uint32_t)> m_Record{};
};

} // namespace Osl::ZebRoute
