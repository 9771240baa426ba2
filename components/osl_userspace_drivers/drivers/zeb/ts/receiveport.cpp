#include <osl/userspace_drivers/drivers/zeb/ts/receiveport.h>
#include <osl/userspace_drivers/interfaces/patientstream.h>
#include <osl/userspace_drivers/interfaces/posix/posix_ioif.h>

#include <array>
#include <fcntl.h>
#include <utility>

namespace Osl::Drivers::Zeb {

namespace {

/// In the registers, the next packet follows one that was released within so many milliseconds.
constexpr uint64_t FOLLOWS_MS = 10;

/// What comes faster than it can be taken never leaves the port empty, but after so long it holds nothing old any more.
constexpr std::chrono::seconds LONGEST_DISCARD(1);

} // namespace

ReceivePort::ReceivePort(LinuxCppUtil::FileLock lock, std::unique_ptr<PktIODriver> driver, Take takeWaiting)
    : m_Driver(std::move(driver)),
      m_TakeWaiting(std::move(takeWaiting)),
      m_Lock(std::move(lock))
{
}

ReceivePort ReceivePort::overStream(std::shared_ptr<IMemIf> registers, const std::string& path,
                                    const std::function<bool()>& stopped, const Now& now)
{
    auto device = std::make_unique<Posix::PosixIOIf>(path, true);
    LinuxCppUtil::FileLock lock(device->descriptor(), path);
    auto stream = std::make_unique<PatientStream>(std::move(device), path, stopped, now);
    Take take = [&waiting = *stream](uint32_t* record) {
        return waiting.read(record, PktIODriver::TOTAL_PKT_SIZE, std::chrono::milliseconds(0)) != 0;
    };
    return {std::move(lock), std::make_unique<PktIODriver>(std::move(registers), std::move(stream)), std::move(take)};
}

ReceivePort ReceivePort::overRegisters(std::shared_ptr<IMemIf> registers, int descriptor, const std::string& path)
{
    LinuxCppUtil::FileLock lock(descriptor, path);
    auto driver = std::make_unique<PktIODriver>(std::move(registers));
    Take take = [&port = *driver](uint32_t* record) { return port.readPacket(record, FOLLOWS_MS); };
    return {std::move(lock), std::move(driver), std::move(take)};
}

void ReceivePort::discardWaiting(const std::function<bool()>& stopped, const Now& now)
{
    const auto end = now() + LONGEST_DISCARD;
    std::array<uint32_t, PktIODriver::TOTAL_PKT_SIZE / sizeof(uint32_t)> record{};
    while (!stopped() && now() < end && m_TakeWaiting(record.data()))
        continue;
}

} // namespace Osl::Drivers::Zeb
