#pragma once

#include "virtual_board/active_ip_lut.h"
#include "virtual_board/reporting.h"

#include <osl/linutils/raii_filedescriptors.h>

#include <array>
#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <netinet/in.h>
#include <string>
#include <sys/socket.h>
#include <utility>
#include <vector>

namespace Osl::VirtualBoard {

/// Receives the multicast groups of the IP LUT.
class MulticastInput
{
public:
    using Clock = std::chrono::steady_clock;
    using Deliver = std::function<void(uint8_t tsi, const uint8_t* packet)>;

    /// `device` is the address of the one to receive from. Raises BoardError when the system lacks what it needs.
    MulticastInput(in_addr device, Deliver deliver, Complain complain);

    /// Receives exactly the streams of `rows` from now on. Complains about a group that cannot be joined.
    void tune(const std::vector<IpLutRow>& rows);

    /// Hands on the packets that have come. Complains, once a second for each group at most, about datagrams that carry
    /// no transport stream. Returns whether anything came.
    bool serve(Clock::time_point now);

    int descriptor() const { return *m_Poll; } ///< readable when something has come

private:
    using Key = std::pair<uint32_t, uint16_t>; ///< group, port

    struct Group
    {
        LinuxCppUtil::UniqueFD socket;
        uint8_t tsi;
        std::string name;
        unsigned badDatagrams = 0; ///< that are not reported yet
        Clock::time_point nextReport{};
    };

    bool join(const Key& key, Group& group);
    bool receive(Group& group, Clock::time_point now);
    void take(Group& group, const mmsghdr& message, const uint8_t* bytes, Clock::time_point now);

    in_addr m_Device;
    Deliver m_Deliver;
    Complain m_Complain;
    LinuxCppUtil::UniqueFD m_Poll;
    std::map<Key, Group> m_Groups;
    std::vector<uint8_t> m_Buffer;
};

} // namespace Osl::VirtualBoard
