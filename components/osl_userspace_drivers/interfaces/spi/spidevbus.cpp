#include <osl/cpputils/assertion.h>
#include <osl/cpputils/stringutils.h>
#include <osl/linutils/attribute_file.h>
#include <osl/userspace_drivers/interfaces/spi/spidevbus.h>

#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <linux/spi/spidev.h>
#include <sys/ioctl.h>
#include <utility>
#include <vector>

namespace Osl::Spi {
namespace {

constexpr std::size_t DEFAULT_BUFFER_LIMIT = 4096;
constexpr uint8_t BITS_PER_WORD = 8;

class SystemCalls : public ISpidevCalls
{
public:
    int open(const char* path, int flags) override { return ::open(path, flags); }
    int ioctl(int descriptor, unsigned long request, void* argument) override
    {
        return ::ioctl(descriptor, request, argument);
    }
};

std::string errnoText(int error) { return fmt::format("Errno: ({} - {})", error, std::strerror(error)); }

/// The kernel's request for a message of `count` transfers; its own macro wants the count at compile time.
unsigned long messageRequest(std::size_t count)
{
    const std::size_t bytes = count * sizeof(spi_ioc_transfer);
    // A longer list does not fit the request's size field: the kernel would take it for an empty one.
    OSL_ASSERT(bytes <= _IOC_SIZEMASK);
    return _IOC(_IOC_WRITE, SPI_IOC_MAGIC, 0, static_cast<unsigned int>(bytes));
}

uint64_t address(const void* buffer) { return reinterpret_cast<uintptr_t>(buffer); }

} // namespace

ISpidevCalls& systemSpidevCalls()
{
    static SystemCalls calls;
    return calls;
}

std::size_t spidevBufferLimit(const std::string& path)
{
    // The driver rounds each transfer up to the alignment of its DMA buffers, 128 bytes at most, before it compares.
    constexpr std::size_t ALIGNMENT = 128;
    std::size_t limit = 0;
    try {
        limit = CppUtil::parseUint32(LinuxCppUtil::readAttributeText(path)).value_or(0);
    } catch (const CppUtil::FileSystemError&) {
        return DEFAULT_BUFFER_LIMIT;
    }
    return limit < ALIGNMENT ? DEFAULT_BUFFER_LIMIT : limit - limit % ALIGNMENT;
}

SpidevBus::SpidevBus(std::string device, const Settings& settings, const SpiAccess& purpose, std::size_t maxBytes,
                     ISpidevCalls& calls)
    : m_Device(std::move(device)),
      m_SpeedHz(settings.speedHz),
      m_MaxBytes(maxBytes),
      m_Calls(calls)
{
    if (m_SpeedHz == 0)
        OSL_RAISE(SPIError, fmt::format("{}: {} refused: the speed must be above 0 Hz", m_Device, toString(purpose)));
    const int descriptor = m_Calls.open(m_Device.c_str(), O_RDWR | O_CLOEXEC);
    if (descriptor < 0)
        OSL_RAISE(SPIError, fmt::format("{}: {}: open failed. {}", m_Device, toString(purpose), errnoText(errno)));
    m_Descriptor = LinuxCppUtil::ownFD(descriptor);

    // Asking changes nothing, so a wrong file is found out before it is told anything.
    uint8_t oldMode = 0;
    if (request(SPI_IOC_RD_MODE, &oldMode) < 0) {
        const int error = errno;
        const bool unknownRequest = error == ENOTTY || error == EINVAL;
        OSL_RAISE(SPIError,
                  fmt::format("{}: {}: {}. {}", m_Device, toString(purpose),
                              unknownRequest ? "not a spidev node" : "reading the mode failed", errnoText(error)));
    }
    setMode(settings.mode, purpose);
    uint8_t bits = BITS_PER_WORD;
    set(SPI_IOC_WR_BITS_PER_WORD, &bits, purpose, fmt::format("setting a word size of {} bits", bits));
    uint32_t speed = m_SpeedHz;
    set(SPI_IOC_WR_MAX_SPEED_HZ, &speed, purpose, fmt::format("setting a clock of {} Hz", speed));
}

int SpidevBus::request(unsigned long code, void* argument) { return m_Calls.ioctl(*m_Descriptor, code, argument); }

void SpidevBus::set(unsigned long code, void* argument, const SpiAccess& access, const std::string& setting)
{
    if (request(code, argument) < 0)
        OSL_RAISE(SPIError,
                  fmt::format("{}: {}: {} failed. {}", m_Device, toString(access), setting, errnoText(errno)));
}

void SpidevBus::setMode(uint32_t mode, const SpiAccess& access)
{
    auto bits = static_cast<uint8_t>(mode);
    OSL_ASSERT(bits == mode);
    set(SPI_IOC_WR_MODE, &bits, access, fmt::format("setting mode {:#x}", mode));
}

void SpidevBus::transfer(std::span<const SpiSegment> segments, const SpiAccess& access)
{
    std::vector<spi_ioc_transfer> transfers;
    std::size_t total = 0;
    std::size_t totalOut = 0;
    std::size_t totalIn = 0;
    for (const SpiSegment& segment : segments) {
        OSL_ASSERT(segment.out.empty() || segment.in.empty() || segment.out.size() == segment.in.size());
        spi_ioc_transfer transfer = {};
        transfer.tx_buf = segment.out.empty() ? 0 : address(segment.out.data());
        transfer.rx_buf = segment.in.empty() ? 0 : address(segment.in.data());
        transfer.len = static_cast<uint32_t>(std::max(segment.out.size(), segment.in.size()));
        transfer.speed_hz = m_SpeedHz;
        transfer.bits_per_word = BITS_PER_WORD;
        total += transfer.len;
        totalOut += segment.out.size();
        totalIn += segment.in.size();
        transfers.push_back(transfer);
    }
    if (std::max(totalOut, totalIn) > m_MaxBytes)
        OSL_RAISE(SPIError, fmt::format("{}: {} refused: a message of {} bytes is longer than the {} bytes that the "
                                        "driver moves at once",
                                        m_Device, toString(access), std::max(totalOut, totalIn), m_MaxBytes));

    const int moved = request(messageRequest(transfers.size()), transfers.data());
    if (moved < 0)
        OSL_RAISE(SPIError, fmt::format("{}: {} failed. {}", m_Device, toString(access), errnoText(errno)));
    if (static_cast<std::size_t>(moved) != total)
        OSL_RAISE(SPIError, fmt::format("{}: {} failed. The driver moved {} of {} bytes", m_Device, toString(access),
                                        moved, total));
}

} // namespace Osl::Spi
