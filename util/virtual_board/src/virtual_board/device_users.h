#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <sys/types.h>

namespace Osl::VirtualBoard {

/// A process, other than this one, that has a device open or mapped.
struct DeviceUser
{
    pid_t process = 0;
    uintptr_t mapping = 0;   ///< where; 0: it is not mapped
    bool holdsFlock = false; ///< on the device
    bool holdsRecordLock = false;
};

/// Where to look for users.
enum class UsersAre {
    IN_THIS_SANDBOX,   ///< among all processes that this one can see
    IN_THEIR_SANDBOXES ///< among those with a process namespace of their own; there may be many others
};

/// Calls `visit` with those that this process may look at, the newest first, until it returns false.
void forEachUser(const std::filesystem::path& device, UsersAre where,
                 const std::function<bool(const DeviceUser&)>& visit);

} // namespace Osl::VirtualBoard
