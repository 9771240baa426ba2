#pragma once

#include <osl/ts_basics/ll_tspackets.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <initializer_list>
#include <vector>

namespace Osl::Testing {

/// A TS packet made up for a test, with payload 0xFF; each call changes one thing and returns the packet.
class Packet
{
public:
    explicit Packet(uint16_t pid = 0x100)
    {
        bytes.fill(0xFF);
        bytes[0] = Ts::SYNC_BYTE;
        bytes[1] = 0;
        bytes[3] = Ts::PAYLOAD_BIT;
        Ts::Ll::setPid(bytes.data(), pid);
    }

    /// An adaptation field of `length` bytes with no flag set.
    Packet& adaptation(uint8_t length = 7)
    {
        bytes[3] |= Ts::ADAPTATION_FIELD_BIT;
        bytes[4] = length;
        if (length > 0)
            bytes[5] = 0;
        return *this;
    }
    Packet& pcr(uint64_t ticks)
    {
        adaptation();
        bytes[5] = 0x10;
        Ts::Ll::setPcr(bytes.data(), ticks);
        return *this;
    }
    Packet& noPayload()
    {
        bytes[3] &= static_cast<uint8_t>(~Ts::PAYLOAD_BIT);
        return *this;
    }
    Packet& counter(uint8_t value)
    {
        Ts::Ll::setContinuityCounter(bytes.data(), value);
        return *this;
    }
    Packet& scrambled()
    {
        bytes[3] |= 0x80;
        return *this;
    }
    /// Starts a payload unit with these bytes.
    Packet& unit(std::initializer_list<uint8_t> start)
    {
        bytes[1] |= 0x40;
        std::copy(start.begin(), start.end(), bytes.begin() + static_cast<long>(Ts::Ll::payloadOffset(bytes.data())));
        return *this;
    }
    /// The byte before the packet's end; tells packets apart that are otherwise the same.
    Packet& mark(uint8_t value)
    {
        bytes.back() = value;
        return *this;
    }

    std::array<uint8_t, Ts::TS_SIZE> bytes{};
};

/// Packets one behind the other, aligned as pipeline buffers are.
inline std::vector<uint8_t> join(const std::vector<Packet>& packets)
{
    std::vector<uint8_t> stream;
    for (const Packet& packet : packets)
        stream.insert(stream.end(), packet.bytes.begin(), packet.bytes.end());
    return stream;
}

/// One behind the other.
inline std::vector<uint8_t> operator+(std::vector<uint8_t> first, const std::vector<uint8_t>& second)
{
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

} // namespace Osl::Testing
