#pragma once

#include <atomic>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <sys/types.h>

/// Waiting that the user can end. A program is asked to stop by a flag that its signal handler sets; open(2), read(2)
/// and write(2) of what may keep one waiting (a pipe without a partner, a silent terminal, an output that nobody reads)
/// are called through here, so that they return a moment later. A flag alone cannot do that: the C library has system
/// calls go on after a signal, and a signal may come between the look at the flag and the call.
namespace Osl::LinuxCppUtil::Interruptible {

/// Waits end from the time that `flag` is true; before the first call, and with nullptr, they last. The flag must
/// outlive every wait.
void stopOn(const std::atomic<bool>* flag);

/// Whether the user wants the program to stop.
bool stopRequested();

// As the system calls of these names: -1 and errno for a failure, which is ECANCELED for a wait that the user ended.

/// The descriptor is closed on exec. A pipe opened to be read is open at once: the first read() waits for its writer.
int open(const std::string& path, int flags, mode_t mode = 0666);

ssize_t read(int descriptor, void* buffer, std::size_t length);

/// Goes on after a stop for as long as it finds a reader: what is being read is not cut off. A call may take only a
/// part, as with any pipe; a regular file and a device get all of `length` in one call.
ssize_t write(int descriptor, const void* buffer, std::size_t length);

/// Calls write() until all is written; false and errno for a failure.
bool writeAll(int descriptor, std::span<const uint8_t> bytes);

/// For calls on a device whose waiting is its driver's: while this lives, a signal ends them with EINTR. One that comes
/// just before the call is missed; the next one ends it.
class InterruptedBySignals
{
public:
    InterruptedBySignals();
    ~InterruptedBySignals();
    InterruptedBySignals(const InterruptedBySignals&) = delete;
    InterruptedBySignals& operator=(const InterruptedBySignals&) = delete;

private:
    struct sigaction m_Before = {};
};

} // namespace Osl::LinuxCppUtil::Interruptible
