#pragma once

#include <netinet/in.h>

namespace Osl::VirtualBoard {

/// Where the board's multicast groups are: nowhere, on the loopback device of a network of its own, or on a device
/// there whose other end is in the machine's own network.
enum class Network { NONE, PRIVATE, BRIDGED };

/// The address of the device that carries the groups. Raises BoardError when there is no such device.
in_addr groupDevice(Network network);

} // namespace Osl::VirtualBoard
