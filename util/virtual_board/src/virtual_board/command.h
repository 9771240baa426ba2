#pragma once

namespace Osl::VirtualBoard {

/// Exit status when the board cannot be made, or has ended under its command; those of a command that cannot be started
/// follow env(1).
inline constexpr int EXIT_NO_BOARD = 125;
inline constexpr int EXIT_CANNOT_RUN = 126;
inline constexpr int EXIT_NOT_FOUND = 127;

/// Becomes the command, which gets the signals that the launcher ignores for itself, so that Ctrl-C reaches the command
/// alone. Where it cannot be started this says so in the name of `program` and ends the process.
[[noreturn]] void becomeCommand(const char* program, char* const* command);

/// The exit status that stands for what waitpid() told of a process: 128 + N when signal N ended it.
int exitStatus(int waitStatus);

} // namespace Osl::VirtualBoard
