#pragma once

#include <osl/linutils/raii_filedescriptors.h>
#include <osl/userspace_drivers/interfaces/spi/ispibus.h>

#include <string>

namespace Osl::Spi {

/// The system calls that SpidevBus makes, with the results and `errno` of the real ones.
class ISpidevCalls
{
public:
    /// Returns a descriptor that the caller closes.
    virtual int open(const char* path, int flags) = 0;
    virtual int ioctl(int descriptor, unsigned long request, void* argument) = 0;
    virtual ~ISpidevCalls() = default;
};

/// The calls of the running system.
ISpidevCalls& systemSpidevCalls();

/// Where the spidev driver says how many bytes a message may move.
inline constexpr const char* SPIDEV_BUFSIZ_PATH = "/sys/module/spidev/parameters/bufsiz";

/// The limit that the attribute file `path` tells, in bytes; the driver's default of 4096 when it tells none.
std::size_t spidevBufferLimit(const std::string& path = SPIDEV_BUFSIZ_PATH);

/// A slave position behind a node of the Linux spidev driver ("/dev/spidevB.C").
class SpidevBus final : public ISpiBus
{
public:
    struct Settings
    {
        uint32_t mode;    ///< mode bits as of ISpiBus::setMode()
        uint32_t speedHz; ///< of the clock; the controller may run slower
    };

    /// Opens `device` and sets mode, word size and speed, since all of them are shared with whoever used the node
    /// before. `purpose` is what the bus is opened for. Raises SPIError, also for a file that is not a spidev node.
    /// `calls` must outlive the bus.
    SpidevBus(std::string device, const Settings& settings, const SpiAccess& purpose,
              std::size_t maxBytes = spidevBufferLimit(), ISpidevCalls& calls = systemSpidevCalls());

    const std::string& device() const override { return m_Device; }
    std::size_t maxBytes() const override { return m_MaxBytes; }
    void setMode(uint32_t mode, const SpiAccess& access) override;
    void transfer(std::span<const SpiSegment> segments, const SpiAccess& access) override;

private:
    int request(unsigned long code, void* argument);
    void set(unsigned long code, void* argument, const SpiAccess& access, const std::string& setting);

    std::string m_Device;
    uint32_t m_SpeedHz;
    std::size_t m_MaxBytes;
    ISpidevCalls& m_Calls;
    LinuxCppUtil::UniqueFD m_Descriptor;
};

} // namespace Osl::Spi
