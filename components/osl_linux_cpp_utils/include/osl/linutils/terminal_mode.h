#pragma once

#include <termios.h>

namespace Osl::LinuxCppUtil {

/// Has the terminal of standard input work without some of its local modes (c_lflag) while this lives, also where the
/// program is stopped and goes on; a signal that ends the program meanwhile leaves a terminal that can be used. At most
/// one may live at a time. Standard input that is no terminal has no modes, and nothing happens.
class TerminalMode
{
public:
    enum class AtEnd {
        AS_BEFORE, ///< the modes are as they were
        ON,        ///< the modes are on whatever they were: what an earlier program left without them is usable again
    };

    TerminalMode(tcflag_t modesOff, AtEnd atEnd);
    ~TerminalMode();
    TerminalMode(const TerminalMode&) = delete;
    TerminalMode& operator=(const TerminalMode&) = delete;

private:
    bool m_IsTerminal;
};

} // namespace Osl::LinuxCppUtil
