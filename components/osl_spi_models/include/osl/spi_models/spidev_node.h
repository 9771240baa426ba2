#pragma once

#include <osl/spi_models/spi_chips.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <linux/spi/spidev.h>
#include <vector>

namespace Osl::SpiModels {

/// The memory of the program that makes a request.
class UserMemory
{
public:
    virtual ~UserMemory() = default;
    virtual bool copyIn(void* to, uint64_t address, std::size_t bytes) = 0;
    virtual bool copyOut(uint64_t address, const void* from, std::size_t bytes) = 0;
};

/// The kernel's side of a spidev node: takes the requests and checks them as the driver does.
class SpidevNode
{
public:
    static constexpr std::size_t BUFSIZ_BYTES = 4096;

    explicit SpidevNode(SpiChip& chip, uint32_t modeBits = ALL_MODES) : m_Chip(chip), m_ModeBits(modeBits) {}

    /// Returns what the system call would: 0 or more, or a negative errno.
    int request(uint32_t code, uint64_t argument, UserMemory& memory)
    {
        if (_IOC_TYPE(code) != SPI_IOC_MAGIC)
            return -ENOTTY;
        if (_IOC_NR(code) == 0 && _IOC_DIR(code) == _IOC_WRITE)
            return message(_IOC_SIZE(code), argument, memory);
        for (const Setting& setting : settings()) {
            if (_IOC_NR(code) != setting.number || _IOC_SIZE(code) != setting.bytes)
                continue;
            return _IOC_DIR(code) == _IOC_READ ? read(setting, argument, memory) : write(setting, argument, memory);
        }
        return -ENOTTY;
    }

    uint32_t mode() const { return m_Mode; }
    uint32_t bitsPerWord() const { return m_Bits; }
    uint32_t speedHz() const { return m_SpeedHz; }

private:
    static constexpr uint32_t ALL_MODES = 0xFF;

    struct Setting
    {
        unsigned number;
        std::size_t bytes;
        uint32_t& value;
    };

    std::array<Setting, 4> settings()
    {
        return {Setting{1, 1, m_Mode}, Setting{3, 1, m_Bits}, Setting{4, 4, m_SpeedHz}, Setting{5, 4, m_Mode}};
    }

    static int read(const Setting& setting, uint64_t argument, UserMemory& memory)
    {
        const auto byte = static_cast<uint8_t>(setting.value);
        const void* const from = setting.bytes == 1 ? static_cast<const void*>(&byte) : &setting.value;
        return memory.copyOut(argument, from, setting.bytes) ? 0 : -EFAULT;
    }

    int write(const Setting& setting, uint64_t argument, UserMemory& memory) const
    {
        uint8_t byte = 0;
        uint32_t value = 0;
        if (!memory.copyIn(setting.bytes == 1 ? static_cast<void*>(&byte) : &value, argument, setting.bytes))
            return -EFAULT;
        if (setting.bytes == 1)
            value = byte;
        if ((&setting.value == &m_Bits && value != 0 && value != 8) || (&setting.value == &m_SpeedHz && value == 0) ||
            (&setting.value == &m_Mode && (value & ~m_ModeBits) != 0))
            return -EINVAL;
        setting.value = &setting.value == &m_Bits && value == 0 ? 8 : value;
        return 0;
    }

    /// As the driver does: each transfer is rounded up to the alignment of DMA buffers before the sums are compared.
    static std::size_t rounded(std::size_t bytes) { return (bytes + 63) / 64 * 64; }

    int message(std::size_t bytes, uint64_t argument, UserMemory& memory)
    {
        if (bytes % sizeof(spi_ioc_transfer) != 0)
            return -EINVAL;
        std::vector<spi_ioc_transfer> transfers(bytes / sizeof(spi_ioc_transfer));
        if (transfers.empty())
            return 0;
        if (!memory.copyIn(transfers.data(), argument, bytes))
            return -EFAULT;
        std::size_t out = 0;
        std::size_t in = 0;
        std::size_t total = 0;
        std::vector<std::vector<uint8_t>> buffers;
        for (const spi_ioc_transfer& transfer : transfers) {
            total += transfer.len;
            out += transfer.tx_buf != 0 ? rounded(transfer.len) : 0;
            in += transfer.rx_buf != 0 ? rounded(transfer.len) : 0;
            if (std::max(out, in) > BUFSIZ_BYTES)
                return -EMSGSIZE;
            if (transfer.bits_per_word != 0 && transfer.bits_per_word != 8)
                return -EINVAL;
            buffers.emplace_back(transfer.len, 0);
            if (transfer.tx_buf != 0 && !memory.copyIn(buffers.back().data(), transfer.tx_buf, transfer.len))
                return -EFAULT;
        }
        run(transfers, buffers);
        for (std::size_t i = 0; i < transfers.size(); ++i)
            if (transfers[i].rx_buf != 0 && !memory.copyOut(transfers[i].rx_buf, buffers[i].data(), buffers[i].size()))
                return -EFAULT;
        return static_cast<int>(total);
    }

    void run(const std::vector<spi_ioc_transfer>& transfers, std::vector<std::vector<uint8_t>>& buffers)
    {
        const bool hasSelect = (m_Mode & SPI_NO_CS) == 0;
        const auto select = [&](bool active) {
            if (hasSelect)
                active ? m_Chip.select() : m_Chip.deselect();
        };
        select(true);
        for (std::size_t i = 0; i < transfers.size(); ++i) {
            for (uint8_t& byte : buffers[i])
                byte = m_Chip.clockByte(byte, (m_Mode & SPI_CPHA) != 0);
            if (transfers[i].cs_change != 0 && i + 1 < transfers.size()) {
                select(false);
                select(true);
            }
        }
        select(false);
    }

    SpiChip& m_Chip;
    uint32_t m_ModeBits;
    uint32_t m_Mode = 0;
    uint32_t m_Bits = 8;
    uint32_t m_SpeedHz = 500'000;
};

} // namespace Osl::SpiModels
