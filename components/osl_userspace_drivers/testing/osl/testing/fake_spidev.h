#pragma once

#include <osl/spi_models/spidev_node.h>
#include <osl/userspace_drivers/interfaces/spi/spidevbus.h>

#include <cstring>
#include <fcntl.h>
#include <map>
#include <optional>
#include <unistd.h>

namespace Osl::Testing {

/// The system's calls over one spidev node with a chip behind it. Every path opens that node. Logs the messages as
/// they go out and fails where it is told to.
class FakeSpidev : public Spi::ISpidevCalls
{
public:
    explicit FakeSpidev(SpiModels::SpiChip& chip, uint32_t modeBits = 0xFF) : node(chip, modeBits) {}

    int open(const char*, int) override { return ::open("/dev/null", O_RDWR | O_CLOEXEC); }

    int ioctl(int, unsigned long code, void* argument) override
    {
        const bool message = _IOC_NR(code) == 0;
        const std::size_t number = message ? messages++ : 0;
        if (const auto failure = failures.find(code); failure != failures.end())
            return fail(failure->second);
        if (message && messageError && number == messageError->first)
            return fail(messageError->second);
        OwnMemory memory;
        const int result = node.request(static_cast<uint32_t>(code), reinterpret_cast<uintptr_t>(argument), memory);
        return result < 0 ? fail(-result) : result - (message ? shortBy : 0);
    }

    SpiModels::SpidevNode node;
    std::map<unsigned long, int> failures;                   ///< request and the errno it fails with
    std::optional<std::pair<std::size_t, int>> messageError; ///< running number of the message that fails, and errno
    std::size_t messages = 0;
    int shortBy = 0; ///< bytes that messages fall short of

private:
    static int fail(int error)
    {
        errno = error;
        return -1;
    }

    class OwnMemory : public SpiModels::UserMemory
    {
    public:
        bool copyIn(void* to, uint64_t address, std::size_t bytes) override
        {
            std::memcpy(to, reinterpret_cast<const void*>(static_cast<uintptr_t>(address)), bytes);
            return true;
        }
        bool copyOut(uint64_t address, const void* from, std::size_t bytes) override
        {
            std::memcpy(reinterpret_cast<void*>(static_cast<uintptr_t>(address)), from, bytes);
            return true;
        }
    };
};

} // namespace Osl::Testing
