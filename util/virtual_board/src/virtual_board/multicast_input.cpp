#include "virtual_board/multicast_input.h"

#include "virtual_board/board_folder.h"
#include "virtual_board/ts_datagram.h"

#include <osl/cpputils/netaddress.h>

#include <fmt/format.h>

#include <cerrno>
#include <cstring>
#include <netinet/in.h>
#include <span>
#include <sys/epoll.h>

namespace Osl::VirtualBoard {

using namespace std::chrono_literals;

namespace {

constexpr std::size_t IN_BATCH = 32;          ///< datagrams a system call
constexpr std::size_t MAX_DATAGRAM = 1 << 16; ///< bytes
constexpr int MAX_ROUNDS = 8;                 ///< batches before others have their turn
constexpr int SOCKET_BUFFER = 8 << 20;        ///< bytes
constexpr auto REPORT_INTERVAL = 1s;

LinuxCppUtil::UniqueFD makePoll()
{
    const int descriptor = ::epoll_create1(EPOLL_CLOEXEC);
    if (descriptor < 0)
        OSL_RAISE(BoardError, std::string("Cannot wait for datagrams: ") + std::strerror(errno));
    return LinuxCppUtil::ownFD(descriptor);
}

void widenBuffer(int socket)
{
    // What an administrator allows to anybody is far less than what comes while another process has the processor.
    if (::setsockopt(socket, SOL_SOCKET, SO_RCVBUFFORCE, &SOCKET_BUFFER, sizeof SOCKET_BUFFER) != 0)
        ::setsockopt(socket, SOL_SOCKET, SO_RCVBUF, &SOCKET_BUFFER, sizeof SOCKET_BUFFER);
}

} // namespace

MulticastInput::MulticastInput(in_addr device, Deliver deliver, Complain complain)
    : m_Device(device),
      m_Deliver(std::move(deliver)),
      m_Complain(std::move(complain)),
      m_Poll(makePoll()),
      m_Buffer(IN_BATCH * MAX_DATAGRAM)
{
}

bool MulticastInput::join(const Key& key, Group& group)
{
    const auto [address, port] = key;
    group.socket = LinuxCppUtil::ownFD(::socket(AF_INET, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
    const int on = 1;
    // Bound to the group, so that the port's other groups stay out.
    const sockaddr_in own{.sin_family = AF_INET, .sin_port = htons(port), .sin_addr = {htonl(address)}, .sin_zero = {}};
    const ip_mreq membership{.imr_multiaddr = {htonl(address)}, .imr_interface = m_Device};
    if (*group.socket < 0 || ::setsockopt(*group.socket, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on) != 0 ||
        ::bind(*group.socket, reinterpret_cast<const sockaddr*>(&own), sizeof own) != 0 ||
        ::setsockopt(*group.socket, IPPROTO_IP, IP_ADD_MEMBERSHIP, &membership, sizeof membership) != 0)
        return false;
    widenBuffer(*group.socket);
    epoll_event event{.events = EPOLLIN, .data = {.ptr = &group}};
    return ::epoll_ctl(*m_Poll, EPOLL_CTL_ADD, *group.socket, &event) == 0;
}

void MulticastInput::tune(const std::vector<IpLutRow>& rows)
{
    std::map<Key, Group> before = std::move(m_Groups);
    m_Groups.clear();
    for (const IpLutRow& row : rows) {
        const Key key{row.group, row.port};
        if (m_Groups.contains(key))
            continue; // a fault of the table, which the first row answers for
        if (auto kept = before.extract(key)) {
            kept.mapped().tsi = row.tsi;
            m_Groups.insert(std::move(kept));
            continue;
        }
        const CppUtil::IpAdrContainer address(row.group);
        const std::string name = fmt::format("{}:{}", address.toString(), row.port);
        if (!address.isMulticast()) {
            m_Complain(fmt::format("IP LUT: {} of TSI {} is not a multicast group", name, row.tsi));
            continue;
        }
        Group& group = m_Groups.emplace(key, Group{.socket = nullptr, .tsi = row.tsi, .name = name}).first->second;
        if (!join(key, group)) {
            m_Complain(fmt::format("IP LUT: cannot join {}: {}", name, std::strerror(errno)));
            m_Groups.erase(key);
        }
    }
}

void MulticastInput::take(Group& group, const mmsghdr& message, const uint8_t* bytes, Clock::time_point now)
{
    const std::span<const uint8_t> packets = tsPacketsIn(std::span(bytes, message.msg_len));
    for (std::size_t at = 0; at < packets.size(); at += Ts::TS_SIZE)
        m_Deliver(group.tsi, &packets[at]);
    if (!packets.empty())
        return;
    ++group.badDatagrams;
    if (now < group.nextReport)
        return;
    m_Complain(fmt::format("{} datagrams to {} are not a transport stream; the last has {} bytes", group.badDatagrams,
                           group.name, message.msg_len));
    group.badDatagrams = 0;
    group.nextReport = now + REPORT_INTERVAL;
}

bool MulticastInput::receive(Group& group, Clock::time_point now)
{
    std::array<iovec, IN_BATCH> parts{};
    std::array<mmsghdr, IN_BATCH> messages{};
    for (std::size_t i = 0; i < IN_BATCH; ++i) {
        parts[i] = {.iov_base = &m_Buffer[i * MAX_DATAGRAM], .iov_len = MAX_DATAGRAM};
        messages[i].msg_hdr.msg_iov = &parts[i];
        messages[i].msg_hdr.msg_iovlen = 1;
    }
    const int count = ::recvmmsg(*group.socket, messages.data(), IN_BATCH, MSG_DONTWAIT, nullptr);
    for (std::size_t i = 0; std::cmp_less(i, count); ++i)
        take(group, messages[i], &m_Buffer[i * MAX_DATAGRAM], now);
    return count == static_cast<int>(IN_BATCH);
}

bool MulticastInput::serve(Clock::time_point now)
{
    std::array<epoll_event, IN_BATCH> ready{};
    const int count = ::epoll_wait(*m_Poll, ready.data(), static_cast<int>(ready.size()), 0);
    for (std::size_t i = 0; std::cmp_less(i, count); ++i)
        for (int round = 0; round < MAX_ROUNDS && receive(*static_cast<Group*>(ready[i].data.ptr), now); ++round)
            continue;
    return count > 0;
}

} // namespace Osl::VirtualBoard
