#pragma once

#include <cstdint>
#include <filesystem>
#include <sys/types.h>
#include <vector>

namespace Osl::VirtualBoard {

/// A process, other than this one, that has a device open or mapped.
struct DeviceUser
{
    pid_t process;
    uintptr_t mapping = 0;   ///< where; 0: it is not mapped
    bool holdsFlock = false; ///< on the device
    bool holdsRecordLock = false;
};

/// Where to look for users.
enum class UsersAre {
    IN_THIS_SANDBOX,   ///< among all processes that this one can see
    IN_THEIR_SANDBOXES ///< among those with a process namespace of their own; there may be many others
};

/// Those that this process may look at.
std::vector<DeviceUser> usersOf(const std::filesystem::path& device, UsersAre where);

} // namespace Osl::VirtualBoard
