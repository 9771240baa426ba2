#pragma once

#include "zeb_fpga_shell/pktio/timing.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <iosfwd>
#include <string>

namespace Osl::Utils {

/// Counts what a transmission has sent, draws its progress line and ends it when the user asks to stop.
class SendMonitor
{
public:
    /// `totalBytes`: TS bytes that are to be sent; 0 when not known. `progress`: where the line is drawn, null for
    /// nowhere.
    SendMonitor(uint64_t totalBytes, std::ostream* progress, std::function<bool()> stopped,
                std::function<std::chrono::steady_clock::time_point()> now);

    /// Counts a segment, or a single packet, that the FPGA has taken. Raises WriteError (STOPPED) once the user has
    /// asked to stop, so that nothing further is begun.
    void sent(uint64_t packets);
    bool stopped() const { return m_Stopped(); }

    uint64_t packets() const { return m_Packets; }
    uint64_t pieces() const { return m_Pieces; } ///< calls of sent()
    uint64_t bytes() const;
    double seconds() const;

    /// Removes the progress line.
    void clearLine();

private:
    void draw();

    uint64_t m_TotalBytes;
    std::ostream* m_Progress;
    std::function<bool()> m_Stopped;
    std::function<std::chrono::steady_clock::time_point()> m_Now;
    std::chrono::steady_clock::time_point m_Start;
    std::chrono::steady_clock::time_point m_NextLine;
    bool m_LineDrawn = false;
    uint64_t m_Packets = 0;
    uint64_t m_Pieces = 0;
};

} // namespace Osl::Utils
