#include "ioctl_listener.h"
#include "spi_board.h"
#include "virtual_board/command.h"

#include <osl/linutils/raii_filedescriptors.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <iostream>
#include <linux/spi/spidev.h>
#include <optional>
#include <poll.h>
#include <string>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace Osl;
using namespace Osl::VirtualBoard;

namespace {

constexpr const char* PROGRAM = "zeb_virtual_board_spi";

constexpr const char* USAGE = "usage: zeb_virtual_board_spi FOLDER COMMAND [ARGUMENT]...\n"
                              "\n"
                              "Runs COMMAND with the SPI devices of a virtual board at /dev/spidev0.0 to 0.2; the\n"
                              "state and the logs of their chips are in FOLDER. Makes files in /dev, which must be\n"
                              "private; scripts/board sees to that. Where the kernel does not let the devices be\n"
                              "answered for, it says so and runs COMMAND without them.\n";

LinuxCppUtil::UniqueFD openProcess(pid_t process)
{
    const int descriptor = static_cast<int>(::syscall(SYS_pidfd_open, process, 0));
    if (descriptor < 0)
        OSL_RAISE(CppUtil::IOError, std::string("no descriptor for a process: ") + std::strerror(errno));
    return LinuxCppUtil::ownFD(descriptor);
}

struct Devices
{
    explicit Devices(const char* folder) : ownProcess(openProcess(::getpid())), listener(SPI_IOC_MAGIC), board(folder)
    {
    }

    LinuxCppUtil::UniqueFD ownProcess; ///< shows, before there is anything to lose, that the kernel is new enough
    IoctlListener listener;            ///< before the board: where it cannot be, there are to be no nodes either
    SpiBoard board;
};

/// Serves requests until `child` ends; returns its exit status.
int serveUntilEnd(Devices& devices, pid_t child)
{
    const LinuxCppUtil::UniqueFD ended = openProcess(child);
    std::array<pollfd, 2> watched{pollfd{devices.listener.descriptor(), POLLIN, 0}, pollfd{*ended, POLLIN, 0}};
    while (watched[1].revents == 0) {
        if (::poll(watched.data(), watched.size(), -1) < 0)
            continue; // interrupted: a stop and continue of the whole job
        if ((watched[0].revents & POLLIN) != 0)
            devices.listener.serve(
                [&](const IoctlListener::Request& request) { return devices.board.answer(request); });
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    return exitStatus(status);
}

} // namespace

int main(int argc, char** argv)
{
    if (argc < 3) {
        std::cerr << USAGE << std::flush;
        return EXIT_NO_BOARD;
    }
    char** const command = argv + 2;
    std::optional<Devices> devices;
    try {
        devices.emplace(argv[1]);
    } catch (const Error& error) {
        std::cerr << PROGRAM << ": no SPI devices on this board: " << error.what() << std::endl;
        becomeCommand(PROGRAM, command);
    }
    const pid_t child = ::fork();
    if (child < 0) {
        std::cerr << PROGRAM << ": " << std::strerror(errno) << std::endl;
        return EXIT_NO_BOARD;
    }
    if (child == 0) {
        // A command that outlived this process would find its devices broken.
        ::prctl(PR_SET_PDEATHSIG, SIGKILL);
        becomeCommand(PROGRAM, command);
    }
    return serveUntilEnd(*devices, child);
}
