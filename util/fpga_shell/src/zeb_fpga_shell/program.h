#pragma once

namespace Osl::Utils {

/// True when any word of the argument vector is exactly "-I" or "--interactive".
bool wantsInteractiveMode(int argc, const char* const* argv);

/// The whole program: chooses the mode, runs it, reports what escapes it on standard error. Returns the exit status.
int runProgram(int argc, char** argv);

} // namespace Osl::Utils
