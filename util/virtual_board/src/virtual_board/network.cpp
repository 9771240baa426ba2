#include "virtual_board/network.h"

#include "virtual_board/board_folder.h"

#include <osl/linutils/raii_filedescriptors.h>

#include <cerrno>
#include <cstring>
#include <net/if.h>
#include <string>
#include <sys/ioctl.h>
#include <sys/socket.h>

namespace Osl::VirtualBoard {
namespace {

constexpr const char* LOOPBACK_DEVICE = "lo";
constexpr const char* BRIDGE_DEVICE = "board"; ///< as the launcher names it

} // namespace

in_addr groupDevice(Network network)
{
    const char* const device = network == Network::BRIDGED ? BRIDGE_DEVICE : LOOPBACK_DEVICE;
    ifreq request = {};
    std::strncpy(request.ifr_name, device, IFNAMSIZ - 1);
    const auto socket = LinuxCppUtil::ownFD(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    if (::ioctl(*socket, SIOCGIFADDR, &request) != 0)
        OSL_RAISE(BoardError, std::string("No network device \"") + device + "\": " + std::strerror(errno));
    sockaddr_in address = {};
    std::memcpy(&address, &request.ifr_addr, sizeof address);
    return address.sin_addr;
}

} // namespace Osl::VirtualBoard
