#include "virtual_board/device_memory.h"

#include "virtual_board/command.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace Osl::VirtualBoard {
namespace {

constexpr std::size_t MOST_DEVICES = 8;
/// For the signal's handler, which may look at nothing that another thread or the heap could be changing.
std::array<std::atomic<DeviceMemory*>, MOST_DEVICES> s_Mapped{};

[[noreturn]] void endWithoutRoom()
{
    constexpr std::string_view MESSAGE =
        "virtual board: the memory of a device cannot be touched: there is no room left for its file\n";
    [[maybe_unused]] const auto written = ::write(STDERR_FILENO, MESSAGE.data(), MESSAGE.size());
    ::_exit(EXIT_NO_BOARD);
}

} // namespace

/// Makes the file as long as its mapping again, after which the instruction runs once more.
void DeviceMemory::onBusError(int, siginfo_t* info, void*)
{
    const auto address = reinterpret_cast<uintptr_t>(info->si_addr);
    for (const auto& mapped : s_Mapped) {
        DeviceMemory* const memory = mapped.load();
        if (memory == nullptr || address - reinterpret_cast<uintptr_t>(memory->m_Words) >= memory->m_Bytes)
            continue;
        struct stat status = {};
        if (::fstat(memory->descriptor(), &status) == 0 && status.st_size < off_t{memory->m_Bytes} &&
            ::ftruncate(memory->descriptor(), off_t{memory->m_Bytes}) == 0) {
            memory->m_Cut = true;
            return;
        }
    }
    endWithoutRoom();
}

DeviceMemory::DeviceMemory(const std::filesystem::path& root, const Drivers::Zeb::MappedDevice& device)
    : m_File(root / std::filesystem::path(device.path).relative_path()),
      m_Device(m_File, device.mapSize, 0),
      m_Words(static_cast<volatile uint32_t*>(m_Device.getMemSegment().base)),
      m_Bytes(device.mapSize)
{
    struct sigaction action = {};
    action.sa_sigaction = &DeviceMemory::onBusError;
    action.sa_flags = SA_SIGINFO;
    ::sigaction(SIGBUS, &action, nullptr);
    std::find(s_Mapped.begin(), s_Mapped.end(), nullptr)->store(this);
}

DeviceMemory::~DeviceMemory() { std::find(s_Mapped.begin(), s_Mapped.end(), this)->store(nullptr); }

bool DeviceMemory::wasReplaced()
{
    struct stat own = {};
    struct stat named = {};
    const bool replaced = ::fstat(descriptor(), &own) != 0 || own.st_nlink == 0 ||
                          ::stat(m_File.c_str(), &named) != 0 || named.st_ino != own.st_ino ||
                          named.st_dev != own.st_dev;
    return replaced && !std::exchange(m_Replaced, true);
}

} // namespace Osl::VirtualBoard
