#include "virtual_board/device_users.h"

#include <charconv>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <vector>

namespace Osl::VirtualBoard {
namespace fs = std::filesystem;

namespace {

/// Whether any of the process's descriptors leads to the device; the locks on it as the kernel lists them there.
bool findDescriptors(const fs::path& process, const struct stat& device, DeviceUser& user)
{
    bool any = false;
    std::error_code error;
    for (fs::directory_iterator at(process / "fd", error), end; !error && at != end; at.increment(error)) {
        struct stat status = {};
        if (::stat(at->path().c_str(), &status) != 0 || status.st_ino != device.st_ino ||
            status.st_dev != device.st_dev)
            continue;
        any = true;
        std::ifstream info(process / "fdinfo" / at->path().filename());
        for (std::string line; std::getline(info, line);) {
            user.holdsFlock |= line.find(" FLOCK ") != std::string::npos;
            user.holdsRecordLock |= line.find(" OFDLCK ") != std::string::npos;
        }
    }
    return any;
}

/// Address of the device's first page in the process, 0 where it is not mapped.
uintptr_t findMapping(const fs::path& process, const struct stat& device)
{
    std::ifstream maps(process / "maps");
    for (std::string line; std::getline(maps, line);) {
        std::istringstream words(line);
        std::string range, access, offset, place;
        ino_t inode = 0;
        if (words >> range >> access >> offset >> place >> inode && inode == device.st_ino && access.back() == 's')
            return std::strtoull(range.c_str(), nullptr, 16);
    }
    return 0;
}

} // namespace

void forEachUser(const fs::path& device, UsersAre where, const std::function<bool(const DeviceUser&)>& visit)
{
    struct stat status = {};
    if (::stat(device.c_str(), &status) != 0)
        return;
    std::vector<pid_t> processes;
    std::error_code error;
    const fs::path here = fs::read_symlink("/proc/self/ns/pid", error);
    for (fs::directory_iterator at("/proc", error), end; !error && at != end; at.increment(error)) {
        const std::string name = at->path().filename();
        pid_t process = 0;
        const auto [rest, failure] = std::from_chars(name.data(), name.data() + name.size(), process);
        if (failure == std::errc() && *rest == '\0' && process != ::getpid())
            processes.push_back(process);
    }
    std::sort(processes.begin(), processes.end(), std::greater());
    for (const pid_t process : processes) {
        const fs::path folder = "/proc/" + std::to_string(process);
        if (std::error_code unseen; where == UsersAre::IN_THEIR_SANDBOXES) {
            const fs::path there = fs::read_symlink(folder / "ns/pid", unseen);
            if (unseen || there == here)
                continue;
        }
        DeviceUser user{.process = process};
        const bool open = findDescriptors(folder, status, user);
        user.mapping = findMapping(folder, status);
        if ((open || user.mapping != 0) && !visit(user))
            return;
    }
}

} // namespace Osl::VirtualBoard
