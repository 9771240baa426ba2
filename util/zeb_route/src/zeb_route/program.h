#pragma once

namespace Osl::ZebRoute {

/// The whole program: reads the command line, runs the command, reports what goes wrong on standard error. Answers the
/// exit status.
int runProgram(int argc, char** argv);

} // namespace Osl::ZebRoute
