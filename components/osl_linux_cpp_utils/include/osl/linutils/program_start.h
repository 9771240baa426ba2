#pragma once

#include <atomic>

namespace Osl::LinuxCppUtil {

/// What a program does first: standard streams that were closed get a place holder, so that no device that is opened
/// later is taken for one of them; Ctrl-C sets the flag that is answered, and ends waits (interruptible.h); a file that
/// may not grow any more is an error of the write, not the end of the program. The flag lives as long as the process.
std::atomic<bool>& startProgram();

/// Has another signal set the flag, too.
void stopOnSignal(int signal);

} // namespace Osl::LinuxCppUtil
