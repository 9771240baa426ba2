#pragma once

#include <osl/linutils/file_lock.h>
#include <osl/userspace_drivers/drivers/zeb/ts/packetiodriver.h>

#include <chrono>
#include <functional>
#include <memory>
#include <string>

namespace Osl::Drivers::Zeb {

/// The packet port with one taker: as long as it lives, a second one of the same device is refused with
/// LinuxCppUtil::LockError, since each would get what the other one misses.
class ReceivePort
{
public:
    using Now = std::function<std::chrono::steady_clock::time_point()>;

    /// Takes packets from the stream device at `path`. `stopped` ends its waits.
    static ReceivePort overStream(std::shared_ptr<IMemIf> registers, const std::string& path,
                                  const std::function<bool()>& stopped, const Now& now);
    /// Takes packets through the registers, of the open device behind `descriptor`, which `path` names.
    static ReceivePort overRegisters(std::shared_ptr<IMemIf> registers, int descriptor, const std::string& path);

    PktIODriver& driver() { return *m_Driver; }

    /// Stores a record that waits in the port, if one does.
    bool takeWaiting(uint32_t* record) { return m_TakeWaiting(record); }
    /// Takes all that waits in the port and forgets it; what still comes while this goes on is forgotten as well.
    void discardWaiting(const std::function<bool()>& stopped, const Now& now);

private:
    /// Stores a record that waits, if one does.
    using Take = std::function<bool(uint32_t* record)>;

    ReceivePort(LinuxCppUtil::FileLock lock, std::unique_ptr<PktIODriver> driver, Take takeWaiting);

    std::unique_ptr<PktIODriver> m_Driver;
    Take m_TakeWaiting;
    LinuxCppUtil::FileLock m_Lock; ///< goes before the device is closed
};

} // namespace Osl::Drivers::Zeb
