#include <osl/linutils/interruptible.h>
#include <osl/linutils/program_start.h>

#include <csignal>
#include <fcntl.h>
#include <type_traits>
#include <unistd.h>

namespace Osl::LinuxCppUtil {
namespace {

/// Never destroyed, since a signal can come while the program is being left.
std::atomic<bool> g_Stop = false;
static_assert(std::atomic<bool>::is_always_lock_free && std::is_trivially_destructible_v<std::atomic<bool>>);

void onStop(int) { g_Stop = true; }

/// A standard stream that was closed before the program started would leave its number to the next file opened, a
/// device: output would then be written into the FPGA's tables. What takes its place cannot be written, so that lost
/// output is noticed.
void occupyStandardStreams()
{
    for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (::fcntl(descriptor, F_GETFD) == -1)
            ::open("/dev/null", O_RDONLY); // gets the lowest free number, which is this one
    }
}

} // namespace

std::atomic<bool>& startProgram()
{
    occupyStandardStreams();
    Interruptible::stopOn(&g_Stop);
    stopOnSignal(SIGINT);
    std::signal(SIGXFSZ, SIG_IGN);
    return g_Stop;
}

void stopOnSignal(int signal) { std::signal(signal, &onStop); }

} // namespace Osl::LinuxCppUtil
