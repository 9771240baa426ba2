#pragma once

#include <csignal>

namespace Osl::Utils {

/// While it lives, Ctrl-C ends a system call that blocks, with EINTR, instead of letting it go on afterwards.
class InterruptibleCalls
{
public:
    InterruptibleCalls();
    ~InterruptibleCalls();
    InterruptibleCalls(const InterruptibleCalls&) = delete;
    InterruptibleCalls& operator=(const InterruptibleCalls&) = delete;

private:
    struct sigaction m_Before = {};
};

} // namespace Osl::Utils
