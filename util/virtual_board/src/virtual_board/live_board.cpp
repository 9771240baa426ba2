#include "virtual_board/live_board.h"

#include "virtual_board/board_folder.h"

#include <osl/ts_streaming/outputs/pcrsegwriter_zebhw.h>
#include <osl/userspace_drivers/drivers/zeb/zeb_attributes.h>
#include <osl/userspace_drivers/drivers/zeb/zeb_devices.h>

#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <fstream>
#include <iostream>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/stat.h>

namespace Osl::VirtualBoard {

using namespace std::chrono_literals;
using Clock = TxChannel::Clock;
using Ts::Streaming::DesignatorMode;
namespace Zeb = Drivers::Zeb;
namespace fs = std::filesystem;

namespace {

constexpr unsigned MODE_SHIFT = 30; ///< of a TX packet's header
constexpr uint32_t VALUE_MASK = 0xFFF;

/// How long the board sleeps at most: memory has no signal, so it must be looked at.
constexpr auto ATTENTIVE = 100us;
constexpr auto DROWSY = 1ms; ///< when nothing has happened for ATTENTION
constexpr auto ATTENTION = 50ms;
constexpr auto HOUSEKEEPING = 20ms;

constexpr int RX_PIPE_BYTES = 1 << 20;

fs::path placeOf(const fs::path& root, const std::string& device) { return root / fs::path(device).relative_path(); }

/// The board's end of a pipe that stands for a stream device; empty when something else does.
LinuxCppUtil::UniqueFD openPipe(const fs::path& file)
{
    // For both directions, so that the pipe outlives its users.
    const int descriptor = ::open(file.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC);
    if (descriptor < 0)
        OSL_RAISE(BoardError, fmt::format("Cannot open {}: {}", file.string(), std::strerror(errno)));
    auto owned = LinuxCppUtil::ownFD(descriptor);
    struct stat status = {};
    if (::fstat(descriptor, &status) != 0 || !S_ISFIFO(status.st_mode))
        owned.reset();
    return owned;
}

LinuxCppUtil::UniqueFD openRxPipe(const fs::path& file)
{
    auto pipe = openPipe(file);
    if (pipe)
        ::fcntl(*pipe, F_SETPIPE_SZ, RX_PIPE_BYTES);
    return pipe;
}

} // namespace

volatile uint32_t* LiveBoard::wordsOf(Pci::PciIf& device) const
{
    return static_cast<volatile uint32_t*>(device.getMemSegment().base);
}

LiveBoard::LiveBoard(const fs::path& root)
    : m_Root(root),
      m_PidBlock(placeOf(root, Zeb::PIDLUT_DEVICE.path), Zeb::PIDLUT_DEVICE.mapSize, 0),
      m_PortRegisters(placeOf(root, Zeb::PKTIO_DEVICE.path), Zeb::PKTIO_DEVICE.mapSize, 0),
      m_Router(wordsOf(m_PidBlock), *this),
      m_Port(wordsOf(m_PortRegisters), openRxPipe(placeOf(root, Zeb::PKTIO_RX_PATH))),
      m_RxCounter(placeOf(root, Zeb::PKTIO_RX_BYTES_ATTRIBUTE))
{
    for (unsigned number = 0; number < Zeb::PKTIO_TX_CHANNELS; ++number) {
        auto device = openPipe(placeOf(root, Zeb::PKTIO_TX_PATH + std::to_string(number)));
        Channel channel{nullptr,
                        ByteCounter(placeOf(root, fmt::format(fmt::runtime(Zeb::PKTIO_TX_BYTES_ATTRIBUTE), number)))};
        if (device)
            channel.channel = std::make_unique<TxChannel>(
                number, std::move(device), [this](uint32_t header, const uint8_t* packet) { route(header, packet); },
                [this](const std::string& what) { complain(what); });
        m_Channels.push_back(std::move(channel));
    }
    ::prctl(PR_SET_TIMERSLACK, 1UL);
}

void LiveBoard::complain(const std::string& what)
{
    std::cerr << "virtual board: " << what << std::endl;
    std::ofstream(placeOf(m_Root, COMPLAINTS_PATH), std::ios::app) << what << '\n';
}

void LiveBoard::route(uint32_t header, const uint8_t* packet)
{
    const uint32_t value = header & VALUE_MASK;
    switch (static_cast<DesignatorMode>(header >> MODE_SHIFT)) {
    case DesignatorMode::TSI:
        m_Router.fromInput(static_cast<uint8_t>(value), packet);
        return;
    case DesignatorMode::PIDIDX:
        m_Router.fromPidIdx(value, packet);
        return;
    case DesignatorMode::TSO:
        m_Router.throughOutput(static_cast<uint8_t>(value), packet);
        return;
    }
    complain(fmt::format("a packet with the unknown designator {:#010x}", header));
}

bool LiveBoard::serve(Clock::time_point now)
{
    bool busy = false;
    for (const Channel& channel : m_Channels)
        busy |= channel.channel && channel.channel->serve(now);
    busy |= m_Port.serve(now, [this](const PacketPort::Record& record) {
        route(record[0], reinterpret_cast<const uint8_t*>(&record[1]));
    });
    return busy;
}

void LiveBoard::showCounters()
{
    for (Channel& channel : m_Channels)
        if (channel.channel)
            channel.counter.show(channel.channel->bytes());
    m_RxCounter.show(m_Port.streamBytes());
}

void LiveBoard::sleepUntilNeeded(bool busy, Clock::time_point now)
{
    if (busy)
        m_LastWork = now;
    Clock::duration span = now - m_LastWork < ATTENTION ? Clock::duration(ATTENTIVE) : Clock::duration(DROWSY);
    std::vector<pollfd> channels;
    for (const Channel& channel : m_Channels) {
        if (!channel.channel)
            continue;
        if (channel.channel->wantsData())
            channels.push_back({.fd = channel.channel->descriptor(), .events = POLLIN, .revents = 0});
        if (channel.channel->hasPackets())
            span = std::min(span, channel.channel->nextDue() - Clock::now());
    }
    if (span <= Clock::duration::zero())
        return;
    const auto nanoseconds = std::chrono::duration_cast<std::chrono::nanoseconds>(span).count(); // far below a second
    const timespec wait{.tv_sec = 0, .tv_nsec = static_cast<decltype(timespec::tv_nsec)>(nanoseconds)};
    ::ppoll(channels.data(), channels.size(), &wait, nullptr);
}

void LiveBoard::run(const std::function<bool()>& ended)
{
    while (!ended()) {
        const Clock::time_point now = Clock::now();
        const bool busy = serve(now);
        if (now >= m_NextHousekeeping) {
            m_Router.checkPidLut();
            showCounters();
            m_NextHousekeeping = now + HOUSEKEEPING;
        }
        sleepUntilNeeded(busy, now);
    }
    showCounters();
}

} // namespace Osl::VirtualBoard
