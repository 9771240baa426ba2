#pragma once

#include "zeb_route/board.h"
#include "zeb_route/command.h"

#include <osl/linutils/file_lock.h>

#include <chrono>

namespace Osl::ZebRoute {

/// Nobody else edits the tables while this lives. Waits for that as long as the settings say; raises
/// LinuxCppUtil::LockError.
class BoardLock
{
public:
    BoardLock(Board& board, const Settings& settings, const Surroundings& around)
        : m_Patience{std::chrono::seconds(settings.waitSeconds), [&around] { return around.stopRequested(); }},
          m_Pid(board.pid.descriptor(), Drivers::Zeb::PIDLUT_DEVICE.path, m_Patience),
          m_Io(board.io.descriptor(), Drivers::Zeb::IPLUT_DEVICE.path, m_Patience)
    {
    }

private:
    LinuxCppUtil::LockPatience m_Patience;
    // Always in this order, so that no two commands wait for each other.
    LinuxCppUtil::FileLock m_Pid;
    LinuxCppUtil::FileLock m_Io;
};

} // namespace Osl::ZebRoute
