#pragma once

#include "virtual_board/datagram_output.h"

#include <osl/linutils/raii_filedescriptors.h>

#include <netinet/in.h>
#include <span>
#include <vector>

namespace Osl::VirtualBoard {

/// Sends datagrams to multicast groups, many with one system call.
class MulticastSender
{
public:
    /// `device` is the address of the one to send on. Raises BoardError when no socket can be opened.
    explicit MulticastSender(in_addr device);

    /// Takes a copy of `datagram`; it leaves with the next flush() at the latest.
    void send(const DatagramTarget& target, std::span<const uint8_t> datagram);
    void flush();

private:
    struct Datagram
    {
        sockaddr_in to{};
        std::vector<uint8_t> bytes;
    };

    LinuxCppUtil::UniqueFD m_Socket;
    std::vector<Datagram> m_Waiting; ///< the first m_Count; the others keep their memory for later
    std::size_t m_Count = 0;
};

} // namespace Osl::VirtualBoard
