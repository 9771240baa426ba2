#pragma once

#include "zeb_fpga_shell/pktio/send_monitor.h"

#include <osl/linutils/file_lock.h>
#include <osl/ts_streaming/outputs/pcrsegwriter_zebhw.h>
#include <osl/userspace_drivers/drivers/zeb/ts/packetiodriver.h>

#include <cstddef>
#include <cstdint>
#include <string>

namespace Osl::Utils {

/// A TX DMA channel that is this process's alone, and whose transfers are checked to have gone out whole, and counted.
class MonitoredChannel : public Ts::Streaming::PcrSegmentingWriter::HwWriter
{
public:
    /// `device` is the path that `channel` has open; `monitor` must outlive the channel. Raises LockError when another
    /// process sends through the device: the segments of both would come in between each other.
    MonitoredChannel(Ts::Streaming::ZebPcrWriter channel, const std::string& device, SendMonitor& monitor);

    /// Raises WriteError for a transfer that the device took only a part of, and when the user stopped.
    ssize_t write(const uint8_t* segment, std::size_t bytes, uint64_t durationTicks) override;

private:
    ssize_t complete(ssize_t written);

    Ts::Streaming::ZebPcrWriter m_Channel;
    LinuxCppUtil::FileLock m_Lock;
    SendMonitor& m_Monitor;
    bool m_IsByteStream; ///< a pipe or file stands for the device: it has no transfers that could be cut
};

/// The packet port's registers as a sink that is this process's alone: one packet at a time, as soon as the port is
/// free.
class MonitoredPort : public Ts::Streaming::ITsWriter
{
public:
    /// `header` goes before every packet. `lock` keeps out other senders. `port` and `monitor` must outlive this
    /// object.
    MonitoredPort(Drivers::Zeb::PktIODriver& port, LinuxCppUtil::FileLock lock, uint32_t header, SendMonitor& monitor);

    void write(std::span<const uint8_t> buffer) override;

private:
    Drivers::Zeb::PktIODriver& m_Port;
    LinuxCppUtil::FileLock m_Lock;
    uint32_t m_Header;
    SendMonitor& m_Monitor;
};

} // namespace Osl::Utils
