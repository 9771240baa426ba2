#pragma once

namespace Osl::VirtualBoard {

/// Exit status of the program when the board cannot be made; those of a command that cannot be started follow env(1).
inline constexpr int EXIT_NO_BOARD = 125;
inline constexpr int EXIT_CANNOT_RUN = 126;
inline constexpr int EXIT_NOT_FOUND = 127;

/// Makes the board's folder that the first argument names, then becomes the command that the others make up, if any.
/// Returns the exit status; does not return when the command could be started.
int runProgram(int argc, char** argv);

} // namespace Osl::VirtualBoard
