#include "virtual_board/multicast_sender.h"

#include "virtual_board/board_folder.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <sys/socket.h>

namespace Osl::VirtualBoard {
namespace {

constexpr std::size_t OUT_BATCH = 64;

LinuxCppUtil::UniqueFD openSocket(in_addr device)
{
    const int descriptor = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (descriptor < 0)
        OSL_RAISE(BoardError, std::string("Cannot make a socket: ") + std::strerror(errno));
    auto owned = LinuxCppUtil::ownFD(descriptor);
    if (::setsockopt(descriptor, IPPROTO_IP, IP_MULTICAST_IF, &device, sizeof device) != 0)
        OSL_RAISE(BoardError, std::string("Cannot send to multicast groups: ") + std::strerror(errno));
    return owned;
}

} // namespace

MulticastSender::MulticastSender(in_addr device) : m_Socket(openSocket(device)), m_Waiting(OUT_BATCH) {}

void MulticastSender::send(const DatagramTarget& target, std::span<const uint8_t> datagram)
{
    Datagram& waiting = m_Waiting[m_Count++];
    waiting.to = {
        .sin_family = AF_INET, .sin_port = htons(target.port), .sin_addr = {htonl(target.group)}, .sin_zero = {}};
    waiting.bytes.assign(datagram.begin(), datagram.end());
    if (m_Count == OUT_BATCH)
        flush();
}

/// What the network does not take is lost, as it is behind a real board.
void MulticastSender::flush()
{
    std::array<iovec, OUT_BATCH> parts{};
    std::array<mmsghdr, OUT_BATCH> messages{};
    for (std::size_t i = 0; i < m_Count; ++i) {
        parts[i] = {.iov_base = m_Waiting[i].bytes.data(), .iov_len = m_Waiting[i].bytes.size()};
        messages[i].msg_hdr.msg_name = &m_Waiting[i].to;
        messages[i].msg_hdr.msg_namelen = sizeof m_Waiting[i].to;
        messages[i].msg_hdr.msg_iov = &parts[i];
        messages[i].msg_hdr.msg_iovlen = 1;
    }
    for (std::size_t sent = 0; sent < m_Count;) {
        const int count = ::sendmmsg(*m_Socket, &messages[sent], static_cast<unsigned>(m_Count - sent), 0);
        sent += count > 0 ? static_cast<std::size_t>(count) : 1; // one that cannot be sent does not hold up the others
    }
    m_Count = 0;
}

} // namespace Osl::VirtualBoard
