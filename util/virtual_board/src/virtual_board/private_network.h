#pragma once

namespace Osl::VirtualBoard {

/// Readies the loopback device of the board's own network namespace: up, and with a route for all multicast groups, so
/// that programs find it without naming a device. Raises BoardError, in particular in a namespace that has another
/// device as well: traffic must not leave the board.
void preparePrivateNetwork();

} // namespace Osl::VirtualBoard
