#pragma once

#include "zeb_fpga_shell/pktio/timing.h"

#include <osl/linutils/file_lock.h>
#include <osl/userspace_drivers/drivers/zeb/ts/packetiodriver.h>

#include <functional>
#include <memory>
#include <string>

namespace Osl::Utils {

/// The packet port with one taker: as long as it lives, a second one of the same device is refused with
/// LinuxCppUtil::LockError, since each would get what the other one misses.
class ReceivePort
{
public:
    /// Takes packets from the stream device at `path`. `stopped` ends its waits.
    static ReceivePort overStream(std::shared_ptr<Drivers::IMemIf> registers, const std::string& path,
                                  const std::function<bool()>& stopped, const Timing& timing);
    /// Takes packets through the registers, of the open device behind `descriptor`, which `path` names.
    static ReceivePort overRegisters(std::shared_ptr<Drivers::IMemIf> registers, int descriptor,
                                     const std::string& path);

    Drivers::Zeb::PktIODriver& driver() { return *m_Driver; }

    /// Takes all that waits in the port and forgets it; what still comes while this goes on is forgotten as well.
    void discardWaiting(const std::function<bool()>& stopped, const Timing& timing);

private:
    /// Stores a record that waits, if one does.
    using Take = std::function<bool(uint32_t* record)>;

    ReceivePort(LinuxCppUtil::FileLock lock, std::unique_ptr<Drivers::Zeb::PktIODriver> driver, Take takeWaiting);

    std::unique_ptr<Drivers::Zeb::PktIODriver> m_Driver;
    Take m_TakeWaiting;
    LinuxCppUtil::FileLock m_Lock; ///< goes before the device is closed
};

} // namespace Osl::Utils
