#pragma once

#include "zeb_fpga_shell/pktio/capture_stats.h"
#include "zeb_fpga_shell/pktio/packet_file.h"
#include "zeb_fpga_shell/pktio/timing.h"

#include <osl/userspace_drivers/drivers/zeb/ts/packetiodriver.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <iosfwd>
#include <vector>

namespace Osl::Utils {

/// Which packets to take, and what to show of them.
struct CaptureSettings
{
    uint64_t count = 1;                         ///< packets; 0: until stopped
    std::chrono::milliseconds timeout{1000};    ///< without any packet; 0: never give up
    std::vector<uint32_t> tsis = {}, pids = {}; ///< keep only these; empty: all
    bool lines = true;                          ///< a line for each packet
    bool hex = false;                           ///< its bytes below that
    bool wholeRecords = false;                  ///< into the file go records, not TS packets
};

/// A capture from the packet port.
class Capture
{
public:
    /// `text` takes the lines, `file`, which may be null, the packets. `port` must wait shortly only when it has no
    /// packet. All references must outlive the capture.
    Capture(const CaptureSettings& settings, Drivers::Zeb::PktIODriver& port, std::ostream& text, PacketFile* file);

    /// Takes packets until there are enough, none came for the time-out, `stopped` answers true, or `text` fails. What
    /// is left for the file to write when it ends is its caller's to finish.
    void run(const std::function<bool()>& stopped, const Timing& timing);

    /// All packets that were asked for; never true of a capture without end.
    bool complete() const { return m_Settings.count != 0 && m_Taken >= m_Settings.count; }
    uint64_t taken() const { return m_Taken; }
    uint64_t withoutSync() const { return m_WithoutSync; } ///< records dropped
    const CaptureStats& stats() const { return m_Stats; }

private:
    bool accept(const uint8_t* record, std::chrono::steady_clock::time_point now);
    void show(uint8_t tsi, const uint8_t* packet);

    const CaptureSettings& m_Settings;
    Drivers::Zeb::PktIODriver& m_Port;
    std::ostream& m_Text;
    PacketFile* m_File;
    CaptureStats m_Stats;
    uint64_t m_Taken = 0;
    uint64_t m_WithoutSync = 0;
};

} // namespace Osl::Utils
