#pragma once

namespace Osl::ZebRoute {

/// From now on nothing but SIGKILL ends or stops the program before it can put back what it has changed for a time: a
/// closed terminal and the end of the shell count as requests to stop.
void endure();

} // namespace Osl::ZebRoute
