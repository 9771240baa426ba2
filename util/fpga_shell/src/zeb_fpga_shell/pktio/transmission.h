#pragma once

#include "zeb_fpga_shell/pktio/send_monitor.h"
#include "zeb_fpga_shell/pktio/timing.h"

#include <osl/ts_streaming/tsstreamer.h>
#include <osl/userspace_drivers/drivers/zeb/zeb_devices.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <iosfwd>
#include <memory>
#include <string>

namespace Osl::Utils {

/// What to send, and how.
struct SendSettings
{
    std::string file = "-"; ///< "-": standard input
    uint32_t channel = 0;
    unsigned designatorMode = 0; ///< a Ts::Streaming::DesignatorMode
    uint32_t designator = 0;
    bool loop = false;
    bool fixCounters = false;
    uint64_t packetLimit = 0; ///< 0: all
    std::size_t bufferPackets = Ts::Streaming::TsStreamer::DEFAULT_BUFFER_PACKETS;
    bool byRegisters = false; ///< unscheduled, through the packet port's registers
    bool showProgress = false;
};

/// Where a transmission meets the rest of the world.
struct SendEnvironment
{
    std::function<bool()> stopped;
    Timing timing;
    std::ostream& progress;
    std::string channelPrefix;
    Drivers::Zeb::MappedDevice port;
};

/// How a transmission went.
struct SendResult
{
    std::string summary; ///< one line: what was sent
    std::string failure; ///< empty when nothing went wrong
};

/// Sends; raises when nothing could be begun.
SendResult transmit(const SendSettings& settings, const SendEnvironment& environment);

} // namespace Osl::Utils
