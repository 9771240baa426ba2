#include <osl/cpputils/alignment.h>
#include <osl/cpputils/assertion.h>
#include <osl/ts_streaming/outputs/pcrsegwriter_zebhw.h>
#include <osl/userspace_drivers/drivers/zeb/zeb_devices.h>

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <fcntl.h>
#include <new>
#include <unistd.h>

namespace Osl::Ts::Streaming {
namespace {

using CppUtil::is_aligned;

constexpr unsigned MODE_BIT = 30;
constexpr uint32_t LAST_OF_SEGMENT = 0x01000000;

struct DesignatorRange
{
    DesignatorMode mode;
    unsigned first, last;
};

constexpr std::array DESIGNATOR_RANGES{
    DesignatorRange{DesignatorMode::TSI, 0, 255},
    DesignatorRange{DesignatorMode::PIDIDX, 1, 4095},
    DesignatorRange{DesignatorMode::TSO, 0, 255},
};

void storeBigEndian(uint8_t* to, uint32_t value)
{
    to[0] = static_cast<uint8_t>(value >> 24);
    to[1] = static_cast<uint8_t>(value >> 16);
    to[2] = static_cast<uint8_t>(value >> 8);
    to[3] = static_cast<uint8_t>(value);
}

LinuxCppUtil::UniqueFD openChannel(unsigned channel, const std::string& devicePrefix)
{
    if (channel >= Drivers::Zeb::PKTIO_TX_CHANNELS)
        OSL_RAISE(CppUtil::InvalidArgumentError, fmt::format("Invalid TS TX DMA channel number {}", channel));
    return LinuxCppUtil::makeUniqueFD(devicePrefix + std::to_string(channel), O_RDWR);
}

} // namespace

uint32_t txHeader(unsigned mode, unsigned value)
{
    const bool valid = std::any_of(DESIGNATOR_RANGES.begin(), DESIGNATOR_RANGES.end(), [&](const auto& range) {
        return static_cast<unsigned>(range.mode) == mode && range.first <= value && value <= range.last;
    });
    if (!valid)
        OSL_RAISE(CppUtil::InvalidArgumentError,
                  fmt::format("Invalid TS TX DMA mode {} or invalid TSI,PIDIDX,TSO value {}", mode, value));
    return mode << MODE_BIT | value;
}

ZebPcrWriter::ZebPcrWriter(unsigned channel, unsigned mode, unsigned value)
    : ZebPcrWriter(channel, mode, value, Drivers::Zeb::PKTIO_TX_PATH)
{
}

ZebPcrWriter::ZebPcrWriter(unsigned channel, unsigned mode, unsigned value, const std::string& devicePrefix)
    : m_Header(txHeader(mode, value)),
      m_Channel(openChannel(channel, devicePrefix))
{
}

ssize_t ZebPcrWriter::write(const uint8_t* buffer, std::size_t bytes, uint64_t durationTicks)
{
    OSL_ASSERT(bytes % TS_SIZE == 0);
    const std::size_t packets = bytes / TS_SIZE;
    if (packets == 0)
        return 0;
    m_TransferSize = packets * RECORD_SIZE + SEGMENT_HEAD_SIZE;
    const uint64_t spacing = durationTicks / packets;
    const uint64_t remainder = durationTicks % packets;
    grow(m_TransferSize);

    if (spacing >= SPACING_LIMIT)
        OSL_RAISE(WriteError, "PCR based packet spacing too high. TS Stream rater either to low or not CBR",
                  WriteReason::PACING);
    if (remainder >= REMAINDER_LIMIT)
        OSL_RAISE(WriteError, "PCR based packet spacing remainder too high. TS Stream rater either to low or not CBR",
                  WriteReason::PACING);

    OSL_ASSERT(is_aligned(buffer, 4));
    OSL_ASSERT(is_aligned(m_Buffer.data(), 4));
    std::fill_n(m_Buffer.begin(), SEGMENT_HEAD_SIZE, uint8_t{0});
    storeBigEndian(&m_Buffer[0], static_cast<uint32_t>(spacing));
    storeBigEndian(&m_Buffer[4], static_cast<uint32_t>(remainder));

    uint8_t* record = &m_Buffer[SEGMENT_HEAD_SIZE];
    for (std::size_t i = 0; i < packets; ++i, record += RECORD_SIZE) {
        storeBigEndian(record, m_Header);
        std::memcpy(record + 4, buffer + i * TS_SIZE, TS_SIZE);
    }
    if (spacing != 0 || remainder != 0)
        storeBigEndian(record - RECORD_SIZE, m_Header | LAST_OF_SEGMENT);
    return writeRest(0);
}

void ZebPcrWriter::grow(std::size_t bytes)
{
    try {
        if (m_Buffer.size() < bytes)
            m_Buffer.resize(bytes);
    } catch (const std::bad_alloc&) {
        OSL_RAISE(ResourceError, fmt::format("Not enough memory for a transfer of {} bytes", bytes));
    }
}

ssize_t ZebPcrWriter::writeRest(std::size_t from)
{
    return ::write(*m_Channel, m_Buffer.data() + from, m_TransferSize - from);
}

} // namespace Osl::Ts::Streaming
