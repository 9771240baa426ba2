#pragma once

#include <span>

namespace Osl::VirtualBoard {

/// Joins the board that runs in a folder, or starts one there first, runs a command on it and leaves; returns the
/// command's exit status, or EXIT_NO_BOARD after saying why. The arguments:
///
///   FOLDER USER TEXT [OPTION]... -- START... -- COMMAND...
///
/// FOLDER is that of a board; USER and TEXT are for others to see; OPTION is what the board must have; START, OPTION
/// and FOLDER together start a board. COMMAND gets its own view of the board's files by itself. Ends with the process
/// that it was started by. Raises CppUtil::InvalidArgumentError and errors of the locks and the connection.
int joinBoard(std::span<char* const> arguments);

/// Prints who is on the board in a folder and the messages of that board, or that none runs there. Returns the exit
/// status, 0 when one runs.
int showStatus(const char* folder);

} // namespace Osl::VirtualBoard
