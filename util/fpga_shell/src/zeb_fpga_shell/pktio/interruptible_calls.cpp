#include "zeb_fpga_shell/pktio/interruptible_calls.h"

namespace Osl::Utils {

InterruptibleCalls::InterruptibleCalls()
{
    ::sigaction(SIGINT, nullptr, &m_Before);
    struct sigaction without = m_Before;
    without.sa_flags &= ~SA_RESTART;
    ::sigaction(SIGINT, &without, nullptr);
}

InterruptibleCalls::~InterruptibleCalls() { ::sigaction(SIGINT, &m_Before, nullptr); }

} // namespace Osl::Utils
