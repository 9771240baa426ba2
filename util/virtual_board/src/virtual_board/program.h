#pragma once

namespace Osl::VirtualBoard {

/// All that the program does; its arguments are those that its help names. Returns the exit status.
int runProgram(int argc, char** argv);

} // namespace Osl::VirtualBoard
