#pragma once

#include "virtual_board/ts_datagram.h"

#include <array>
#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <span>

namespace Osl::VirtualBoard {

/// Where a stream's datagrams go.
struct DatagramTarget
{
    uint32_t group; ///< IPv4 address as a number
    uint16_t port;
    bool rtp;
    bool operator==(const DatagramTarget&) const = default;
};

/// Packs the packets of streams into datagrams, seven to each. A stream that has less for a while gets a short one, so
/// that slow streams arrive.
class DatagramOutput
{
public:
    using Clock = std::chrono::steady_clock;
    using Send = std::function<void(const DatagramTarget& target, std::span<const uint8_t> datagram)>;

    static constexpr std::chrono::milliseconds MAX_WAIT{20}; ///< of a packet for others

    explicit DatagramOutput(Send send) : m_Send(std::move(send)) {}

    /// A packet of 188 bytes of stream `tso`. When the stream has another target than before, what waits still goes to
    /// the old one.
    void add(uint8_t tso, const DatagramTarget& target, const uint8_t* packet, Clock::time_point now);

    /// Sends what has waited for MAX_WAIT.
    void flush(Clock::time_point now);

private:
    struct Stream
    {
        DatagramTarget target{};
        Clock::time_point begun;
        std::size_t packets = 0; ///< that wait
        uint16_t sequence = 0;
        std::array<uint8_t, RTP_HEADER_SIZE + PACKETS_PER_DATAGRAM * Ts::TS_SIZE> bytes{};
    };

    void send(uint8_t tso, Stream& stream);

    Send m_Send;
    std::map<uint8_t, Stream> m_Streams; ///< by TSO
};

} // namespace Osl::VirtualBoard
