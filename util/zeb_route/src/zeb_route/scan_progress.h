#pragma once

#include <chrono>
#include <cstdint>
#include <string>

namespace Osl::ZebRoute {

/// Says on a terminal's standard error how far a scan is. Never waits for the terminal: a scan whose screen is held
/// must put everything back all the same.
class ScanProgress
{
public:
    ScanProgress();
    ~ScanProgress();
    ScanProgress(const ScanProgress&) = delete;
    ScanProgress& operator=(const ScanProgress&) = delete;

    /// What is going to be done, which stays on the screen.
    void announce(const std::string& text);
    /// What is being done, until the next call.
    void show(const std::string& text);

private:
    void write(const std::string& text);

    bool m_IsSeen;
    bool m_IsShowing = false;
};

} // namespace Osl::ZebRoute
