#pragma once

#include <osl/testing/packet_maker.h>
#include <osl/ts_basics/ll_tspackets.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

/// Tables and their packets, made up for a test.
namespace Osl::Testing {

using Bytes = std::vector<uint8_t>;

inline Bytes word(unsigned value) { return {static_cast<uint8_t>(value >> 8), static_cast<uint8_t>(value)}; }
inline Bytes pidWord(unsigned pid) { return word(0xE000 | pid); }
/// Bytes behind their length, in a word whose upper bits are reserved.
inline Bytes counted(const Bytes& bytes) { return word(0xF000 | static_cast<unsigned>(bytes.size())) + bytes; }
inline Bytes text(std::string_view characters) { return {characters.begin(), characters.end()}; }
inline Bytes descriptor(uint8_t tag, const Bytes& bytes)
{
    return Bytes{tag, static_cast<uint8_t>(bytes.size())} + bytes;
}

/// CRC_32 of ISO/IEC 13818-1, annex A.
inline Bytes checkSum(std::span<const uint8_t> bytes)
{
    uint32_t crc = 0xFFFFFFFF;
    for (const uint8_t byte : bytes)
        for (int bit = 7; bit >= 0; --bit)
            crc = crc << 1 ^ (((crc >> 31) ^ (byte >> bit & 1U)) != 0 ? 0x04C11DB7U : 0U);
    return word(crc >> 16) + word(crc & 0xFFFF);
}

/// A section with all that is around `body`.
struct Section
{
    uint8_t tableId;
    uint16_t extension;
    Bytes body;
    uint8_t version = 0, number = 0, last = 0;
    bool isCurrent = true;

    Bytes bytes() const
    {
        const Bytes head = word(extension) +
                           Bytes{static_cast<uint8_t>(0xC0 | version << 1 | (isCurrent ? 1 : 0)), number, last} + body;
        const Bytes all = Bytes{tableId} + word(0xB000 | static_cast<unsigned>(head.size() + 4)) + head;
        return all + checkSum(all);
    }
};

/// Packs bytes as sections into packets of one PID after the other, and counts them.
class SectionPacker
{
public:
    Bytes stream; ///< whole packets

    SectionPacker& add(uint16_t pid, const Bytes& sections)
    {
        Bytes left = Bytes{0} + sections; // the pointer to the first section
        for (bool isStart = true; !left.empty(); isStart = false) {
            const std::size_t taken = std::min<std::size_t>(Ts::TS_SIZE - 4, left.size());
            Bytes packet(Ts::TS_SIZE, 0xFF);
            packet[0] = Ts::SYNC_BYTE;
            packet[1] = isStart ? 0x40 : 0;
            packet[3] = Ts::PAYLOAD_BIT;
            Ts::Ll::setPid(packet.data(), pid);
            Ts::Ll::setContinuityCounter(packet.data(), m_Counters[pid]++);
            std::copy_n(left.begin(), taken, packet.begin() + 4);
            left.erase(left.begin(), left.begin() + static_cast<std::ptrdiff_t>(taken));
            stream.insert(stream.end(), packet.begin(), packet.end());
        }
        return *this;
    }
    SectionPacker& add(uint16_t pid, const Section& section) { return add(pid, section.bytes()); }

private:
    std::vector<uint8_t> m_Counters = std::vector<uint8_t>(Ts::NULL_PID + 1);
};

} // namespace Osl::Testing
