#include "virtual_board/private_network.h"

#include "virtual_board/board_folder.h"

#include <osl/linutils/raii_filedescriptors.h>

#include <cerrno>
#include <cstring>
#include <net/if.h>
#include <net/route.h>
#include <netinet/in.h>
#include <string>
#include <string_view>
#include <sys/ioctl.h>
#include <sys/socket.h>

namespace Osl::VirtualBoard {
namespace {

constexpr std::string_view LOOPBACK = "lo";
constexpr in_addr_t MULTICAST_NET = 0xE0000000;
constexpr in_addr_t MULTICAST_MASK = 0xF0000000;

void request(int socket, unsigned long code, void* argument, const char* purpose)
{
    if (::ioctl(socket, code, argument) != 0 && errno != EEXIST)
        OSL_RAISE(BoardError, std::string("Cannot ") + purpose + ": " + std::strerror(errno));
}

void refuseOtherDevices()
{
    struct if_nameindex* const devices = ::if_nameindex();
    std::string other;
    for (const struct if_nameindex* device = devices; device != nullptr && device->if_name != nullptr; ++device) {
        ifreq flags{};
        std::strncpy(flags.ifr_name, device->if_name, IFNAMSIZ - 1);
        const auto socket = LinuxCppUtil::ownFD(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
        // A namespace can come with devices that the kernel adds on its own; those are down.
        if (device->if_name != LOOPBACK && ::ioctl(*socket, SIOCGIFFLAGS, &flags) == 0 &&
            (flags.ifr_flags & IFF_UP) != 0)
            other = device->if_name;
    }
    ::if_freenameindex(devices);
    if (!other.empty())
        OSL_RAISE(BoardError, "The network is not private: there is the device " + other);
}

sockaddr addressOf(in_addr_t value)
{
    const sockaddr_in address{.sin_family = AF_INET, .sin_port = 0, .sin_addr = {htonl(value)}, .sin_zero = {}};
    sockaddr general{};
    std::memcpy(&general, &address, sizeof general);
    return general;
}

} // namespace

void preparePrivateNetwork()
{
    refuseOtherDevices();
    const auto socket = LinuxCppUtil::ownFD(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    std::string name(LOOPBACK);
    ifreq device{};
    name.copy(device.ifr_name, IFNAMSIZ - 1);
    request(*socket, SIOCGIFFLAGS, &device, "find the loopback device");
    if ((device.ifr_flags & IFF_UP) == 0) {
        device.ifr_flags = static_cast<short>(device.ifr_flags | IFF_UP);
        request(*socket, SIOCSIFFLAGS, &device, "start the loopback device");
    }
    rtentry route{};
    route.rt_dst = addressOf(MULTICAST_NET);
    route.rt_genmask = addressOf(MULTICAST_MASK);
    route.rt_flags = RTF_UP;
    route.rt_dev = name.data();
    request(*socket, SIOCADDRT, &route, "route multicast groups to the loopback device");
}

} // namespace Osl::VirtualBoard
