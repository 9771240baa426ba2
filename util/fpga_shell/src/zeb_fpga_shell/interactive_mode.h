#pragma once

#include <istream>
#include <ostream>

namespace Osl::Utils {

/// Runs the interactive shell with the FPGA commands over `in` and `out` until the user leaves; returns the exit
/// status. Every failure that ends the shell is reported on `err` and returns -1. The terminal on descriptor 0, if
/// there is one, is without line editing and echo meanwhile and has both switched on afterwards.
int runInteractive(std::istream& in, std::ostream& out, std::ostream& err);

} // namespace Osl::Utils
