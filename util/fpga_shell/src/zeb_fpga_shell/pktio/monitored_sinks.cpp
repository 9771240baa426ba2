#include "zeb_fpga_shell/pktio/monitored_sinks.h"

#include <fmt/format.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <sys/stat.h>
#include <utility>

namespace Osl::Utils {

using Ts::TS_SIZE;
using Ts::Streaming::WriteError;
using Ts::Streaming::WriteReason;

namespace {

bool isByteStream(int descriptor)
{
    struct stat status = {};
    return ::fstat(descriptor, &status) == 0 && !S_ISCHR(status.st_mode);
}

} // namespace

MonitoredChannel::MonitoredChannel(Ts::Streaming::ZebPcrWriter channel, const std::string& device, SendMonitor& monitor)
    : m_Channel(std::move(channel)),
      m_Lock(m_Channel.descriptor(), device),
      m_Monitor(monitor),
      m_IsByteStream(isByteStream(m_Channel.descriptor()))
{
}

/// Goes on after an interruption: with all of a transfer when none of it was taken, with its rest in a byte stream.
ssize_t MonitoredChannel::complete(ssize_t written)
{
    while (written < 0 && errno == EINTR) {
        if (m_Monitor.stopped())
            OSL_RAISE(WriteError, "Stopped by the user", WriteReason::STOPPED);
        written = m_Channel.writeRest(0);
    }
    while (m_IsByteStream && written > 0 && static_cast<std::size_t>(written) < m_Channel.transferSize()) {
        const ssize_t more = m_Channel.writeRest(static_cast<std::size_t>(written));
        if (more < 0 && errno == EINTR)
            continue; // asked to stop a second time; a transfer that is cut would shift all that follow
        if (more <= 0)
            return more < 0 ? more : written;
        written += more;
    }
    return written;
}

ssize_t MonitoredChannel::write(const uint8_t* segment, std::size_t bytes, uint64_t durationTicks)
{
    const ssize_t written = complete(m_Channel.write(segment, bytes, durationTicks));
    if (written < 0)
        return written;
    if (static_cast<std::size_t>(written) < m_Channel.transferSize())
        OSL_RAISE(WriteError,
                  fmt::format("The device took only {} of {} bytes of a segment of {} packets", written,
                              m_Channel.transferSize(), bytes / TS_SIZE),
                  WriteReason::DEVICE);
    m_Monitor.sent(bytes / TS_SIZE);
    return written;
}

MonitoredPort::MonitoredPort(Drivers::Zeb::PktIODriver& port, LinuxCppUtil::FileLock lock, uint32_t header,
                             SendMonitor& monitor)
    : m_Port(port),
      m_Lock(std::move(lock)),
      m_Header(header),
      m_Monitor(monitor)
{
}

void MonitoredPort::write(std::span<const uint8_t> buffer)
{
    std::array<uint32_t, Drivers::Zeb::PktIoReg::TS_WORDS> packet{};
    for (std::size_t at = 0; at < buffer.size(); at += TS_SIZE) {
        std::memcpy(packet.data(), &buffer[at], TS_SIZE);
        m_Port.writePacket(packet.data(), m_Header);
        m_Monitor.sent(1);
    }
}

} // namespace Osl::Utils
