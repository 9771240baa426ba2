#pragma once

#include <atomic>
#include <memory>

namespace Osl::Utils {

/// Becomes true when the user asks the program to stop (Ctrl-C). Long-running commands share it and poll it.
using StopFlag = std::shared_ptr<std::atomic<bool>>;

} // namespace Osl::Utils
