#include "virtual_board/live_board.h"

#include "virtual_board/block_rows.h"
#include "virtual_board/board_folder.h"
#include "virtual_board/device_users.h"
#include "virtual_board/reset_state.h"

#include <osl/ts_streaming/outputs/pcrsegwriter_zebhw.h>
#include <osl/userspace_drivers/drivers/zeb/zeb_attributes.h>
#include <osl/userspace_drivers/drivers/zeb/zeb_devices.h>

#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <fstream>
#include <poll.h>
#include <sys/file.h>
#include <sys/prctl.h>
#include <sys/stat.h>

namespace Osl::VirtualBoard {

using namespace std::chrono_literals;
using Ts::Streaming::DesignatorMode;
namespace Zeb = Drivers::Zeb;
namespace fs = std::filesystem;

namespace {

constexpr unsigned MODE_SHIFT = 30; ///< of a TX packet's header
constexpr uint32_t VALUE_MASK = 0xFFF;

/// How long the board sleeps at most: memory has no signal, so it must be looked at.
constexpr auto ATTENTIVE = 100us;
constexpr auto DROWSY = 1ms;  ///< when nothing has happened for ATTENTION
constexpr auto ASLEEP = 20ms; ///< when nothing has happened for WAKEFULNESS; most of what can happen wakes the board
constexpr auto ATTENTION = 50ms;
constexpr auto WAKEFULNESS = 1s;
constexpr auto HOUSEKEEPING = 20ms;
constexpr auto SPEED_CHECKS = 1s;
/// After a longer delay of the whole board its feeds do not try to catch up.
constexpr auto MAX_LATENESS = 500ms;

constexpr int RX_PIPE_BYTES = 1 << 20;

fs::path placeOf(const fs::path& root, const std::string& device) { return root / fs::path(device).relative_path(); }

std::string attributeOf(const char* attribute, unsigned channel)
{
    return fmt::format(fmt::runtime(attribute), channel);
}

/// The board's end of a pipe that stands for a stream device; empty when something else does.
LinuxCppUtil::UniqueFD openPipe(const fs::path& file, int access)
{
    const int descriptor = ::open(file.c_str(), access | O_NONBLOCK | O_CLOEXEC);
    if (descriptor < 0)
        OSL_RAISE(BoardError, fmt::format("Cannot open {}: {}", file.string(), std::strerror(errno)));
    auto owned = LinuxCppUtil::ownFD(descriptor);
    struct stat status = {};
    if (::fstat(descriptor, &status) != 0 || !S_ISFIFO(status.st_mode))
        owned.reset();
    return owned;
}

/// Open for both directions, so that the pipe outlives its readers.
LinuxCppUtil::UniqueFD openRxPipe(const fs::path& file)
{
    auto pipe = openPipe(file, O_RDWR);
    if (pipe)
        ::fcntl(*pipe, F_SETPIPE_SZ, RX_PIPE_BYTES);
    return pipe;
}

std::vector<fs::path> watchedFiles(const fs::path& root)
{
    std::vector<fs::path> files;
    for (const Zeb::MappedDevice& device : {Zeb::PIDLUT_DEVICE, Zeb::IPLUT_DEVICE, Zeb::PKTIO_DEVICE, SCM_DEVICE})
        files.push_back(placeOf(root, device.path));
    for (unsigned channel = 0; channel < Zeb::PKTIO_TX_CHANNELS; ++channel)
        files.push_back(placeOf(root, Zeb::PKTIO_TX_PATH + std::to_string(channel)));
    return files;
}

} // namespace

LiveBoard::LiveBoard(const Settings& settings)
    : m_Root(settings.folder),
      m_UsersAre(m_Root == m_Root.root_path() ? UsersAre::IN_THIS_SANDBOX : UsersAre::IN_THEIR_SANDBOXES),
      m_PidBlock(m_Root, Zeb::PIDLUT_DEVICE),
      m_IoBlock(m_Root, Zeb::IPLUT_DEVICE),
      m_PortRegisters(m_Root, Zeb::PKTIO_DEVICE),
      m_Scrambler(m_Root, SCM_DEVICE),
      m_Router(m_PidBlock.words(), *this),
      m_ReturnPaths(
          m_Scrambler.words(), [this](uint32_t phyIIdx, const uint8_t* packet) { takeBack(phyIIdx, packet); },
          [this](const std::string& what) { complain(what); }),
      m_Outputs(
          m_IoBlock.words(), m_Root, settings.network, [this](const std::string& what) { complain(what); },
          [this](uint32_t phyOIdx, const uint8_t* packet) { m_ReturnPaths.take(phyOIdx, packet); }),
      m_IpLut(m_IoBlock.words()),
      m_Port(m_PortRegisters.words(), openRxPipe(placeOf(m_Root, Zeb::PKTIO_RX_PATH))),
      m_PortUsers(
          m_PortRegisters.file(), m_UsersAre, [this] { serveRegisters(); },
          [this](const std::string& what) { complain(what); }),
      m_RxCounter(placeOf(m_Root, Zeb::PKTIO_RX_BYTES_ATTRIBUTE)),
      m_Pace(settings.pace),
      m_Watch(watchedFiles(m_Root)),
      m_Time(settings.speed)
{
    m_TablesTouched = Clock::now();
    openChannels();
    openFeeds(settings);
    if (settings.network != Network::NONE) {
        m_IpInput = std::make_unique<MulticastInput>(
            groupDevice(settings.network), [this](uint8_t tsi, const uint8_t* packet) { routeInput(tsi, packet); },
            [this](const std::string& what) { complain(what); });
        m_IpInput->tune(m_IpLut.rows());
    }
    ::prctl(PR_SET_TIMERSLACK, 1UL);
}

void LiveBoard::openChannels()
{
    for (unsigned number = 0; number < Zeb::PKTIO_TX_CHANNELS; ++number) {
        // For reading alone, since that is how the end of a sender is seen.
        auto device = openPipe(placeOf(m_Root, Zeb::PKTIO_TX_PATH + std::to_string(number)), O_RDONLY);
        Channel channel{.channel = nullptr,
                        .bytes = ByteCounter(placeOf(m_Root, attributeOf(Zeb::PKTIO_TX_BYTES_ATTRIBUTE, number))),
                        .underruns = ByteCounter(placeOf(m_Root, attributeOf(TX_UNDERRUNS_ATTRIBUTE, number)))};
        if (device)
            channel.channel = std::make_unique<TxChannel>(
                number, std::move(device), [this](uint32_t header, const uint8_t* packet) { route(header, packet); },
                [this](const std::string& what) { complain(what); });
        m_Channels.push_back(std::move(channel));
    }
}

void LiveBoard::openFeeds(const Settings& settings)
{
    for (const auto& [phyIIdx, port, file] : settings.feeds)
        m_Feeds.push_back({.phyIIdx = phyIIdx,
                           .feed = std::make_unique<Feed>(
                               file, settings.pace,
                               [this, input = phyIIdx](const uint8_t* packet) {
                                   if (const auto tsi = tsiOf(input))
                                       routeInput(*tsi, packet);
                               },
                               [this](const std::string& what) { complain(what); })});
}

void LiveBoard::complain(const std::string& what)
{
    tell(what);
    std::ofstream(placeOf(m_Root, COMPLAINTS_PATH), std::ios::app) << what << '\n';
}

std::optional<uint8_t> LiveBoard::tsiOf(uint32_t phyIIdx) const
{
    const auto row = rowOf<Zeb::PhysInEntry>(m_IoBlock.words(), phyIIdx);
    return row.isUnused() ? std::nullopt : std::optional(row.getTSIidx());
}

void LiveBoard::routeInput(uint8_t tsi, const uint8_t* packet)
{
    m_Router.fromInput(tsi, packet);
    m_ReturnPaths.settle();
}

/// An input that is fed has its packets from there alone.
void LiveBoard::takeBack(uint32_t phyIIdx, const uint8_t* packet)
{
    const bool fed = std::any_of(m_Feeds.begin(), m_Feeds.end(),
                                 [phyIIdx](const FedInput& input) { return input.phyIIdx == phyIIdx; });
    if (const auto tsi = fed ? std::nullopt : tsiOf(phyIIdx))
        m_Router.fromInput(*tsi, packet);
}

void LiveBoard::route(uint32_t header, const uint8_t* packet)
{
    const uint32_t value = header & VALUE_MASK;
    switch (static_cast<DesignatorMode>(header >> MODE_SHIFT)) {
    case DesignatorMode::TSI:
        m_Router.fromInput(static_cast<uint8_t>(value), packet);
        break;
    case DesignatorMode::PIDIDX:
        m_Router.fromPidIdx(value, packet);
        break;
    case DesignatorMode::TSO:
        m_Router.throughOutput(static_cast<uint8_t>(value), packet);
        break;
    default:
        reportDesignator(header);
    }
    m_ReturnPaths.settle();
}

void LiveBoard::reportDesignator(uint32_t header)
{
    if (m_DesignatorsReported.insert(header).second)
        complain(fmt::format("a packet with the unknown designator {:#010x}", header));
}

bool LiveBoard::serveFeeds()
{
    bool busy = false;
    for (const FedInput& input : m_Feeds) {
        // What goes only once waits until it is wanted.
        if (m_Pace == Feed::Pace::PCR || tsiOf(input.phyIIdx))
            busy |= input.feed->serve(m_BoardNow, m_Time.at(m_Now) - m_Time.at(m_Now - MAX_LATENESS));
    }
    return busy;
}

bool LiveBoard::serveIpInputs()
{
    if (m_IpLut.followBank()) {
        if (m_IpInput)
            m_IpInput->tune(m_IpLut.rows());
    }
    return m_IpInput && m_IpInput->serve(m_Now);
}

std::size_t LiveBoard::countIpLutUsers() const
{
    std::size_t count = 0;
    forEachUser(m_IoBlock.file(), m_UsersAre, [&count](const DeviceUser&) { return ++count < 2; });
    return count;
}

/// A second user makes an event of its own, unless it opens the device before the first one's event is seen; then both
/// are there to be counted, or nothing has been written yet.
void LiveBoard::watchIpLutUsers()
{
    if (m_Watch.wasClosed(m_IoBlock.file()))
        endIpLutFilling();
    if (m_Watch.wasOpenedLast(m_IoBlock.file()))
        m_IpLutUserAlone = !std::exchange(m_IpLutUsed, true) && !m_IpLut.isBeingFilled() && countIpLutUsers() == 1 &&
                           !m_IpLut.isSwitched() && !m_IpLut.isBeingFilled();
    else if (m_Watch.wasOpened(m_IoBlock.file()))
        m_IpLutUserAlone = false;
}

/// Puts an end to a filling of the idle bank that nobody goes on with. Who does would hold the lock, as all that edits
/// by commands does, or have the device open.
void LiveBoard::endIpLutFilling()
{
    if (m_IpLut.isBeingFilled()) {
        if (::flock(m_IoBlock.descriptor(), LOCK_EX | LOCK_NB) != 0)
            return;
        const bool used = countIpLutUsers() != 0;
        if (!used && m_IpLut.endFilling(m_IpLutUserAlone) && m_IpInput)
            m_IpInput->tune(m_IpLut.rows());
        ::flock(m_IoBlock.descriptor(), LOCK_UN);
        if (used)
            return;
    }
    m_IpLutUsed = m_IpLutUserAlone = false;
}

/// Says what people did to the devices' files. Their names need a look only when somebody was there.
void LiveBoard::reportDamage(bool touched)
{
    for (DeviceMemory* memory : {&m_PidBlock, &m_IoBlock, &m_PortRegisters, &m_Scrambler}) {
        if (memory->wasCut())
            complain(memory->file().string() + " was cut short under the board; what was cut off is 0 now");
        if (touched && memory->wasReplaced())
            complain(memory->file().string() +
                     " was removed or replaced under the board, which works on with the old one until it ends");
    }
}

bool LiveBoard::serveRegisters()
{
    return m_Port.serve(
        [this](const PacketPort::Record& record) { route(record[0], reinterpret_cast<const uint8_t*>(&record[1])); });
}

bool LiveBoard::servePort()
{
    if (m_Watch.wasOpened(m_PortRegisters.file()))
        m_PortUsers.lookFor(m_Now);
    const bool busy = m_PortUsers.serve(m_Now);
    m_Port.setUsers(m_PortUsers.areReceiving(), m_PortUsers.areSending());
    return serveRegisters() || busy;
}

bool LiveBoard::serve()
{
    bool busy = m_Watch.somethingHappened();
    if (busy)
        m_TablesTouched = m_Now;
    for (const Channel& channel : m_Channels)
        busy |= channel.channel && channel.channel->serve(m_BoardNow);
    busy |= servePort();
    busy |= serveIpInputs();
    watchIpLutUsers();
    busy |= serveFeeds();
    m_Outputs.sendDatagrams();
    return busy;
}

void LiveBoard::showCounters()
{
    for (std::size_t number = 0; number < m_Channels.size(); ++number) {
        Channel& channel = m_Channels[number];
        if (!channel.channel)
            continue;
        const uint64_t underruns = channel.channel->underruns();
        channel.bytes.show(channel.channel->bytes());
        channel.underruns.show(underruns);
        if (!channel.channel->ended() || underruns == channel.reportedUnderruns)
            continue;
        tell(fmt::format("TX channel {}: data came too late, {} times", number, underruns - channel.reportedUnderruns));
        channel.reportedUnderruns = underruns;
    }
    m_RxCounter.show(m_Port.bytes());
}

/// At its own speed a board may stand still for a while, with the machine. At another one it was asked for too much.
void LiveBoard::checkSpeed()
{
    if (m_Time.speed() == 1 || m_Now - m_SpeedChecked < SPEED_CHECKS)
        return;
    Clock::duration lost{};
    for (const FedInput& input : m_Feeds)
        lost = std::max(lost, input.feed->lost());
    const Clock::duration passed = m_BoardNow - m_Time.at(m_SpeedChecked);
    if (lost != m_FeedTimeLost)
        complain(fmt::format("speed {} cannot be held: a feed ran at {:.2f}", m_Time.speed(),
                             m_Time.speed() * std::max(0.0, 1 - (lost - m_FeedTimeLost) / (1.0 * passed))));
    m_FeedTimeLost = lost;
    m_SpeedChecked = m_Now;
}

void LiveBoard::checkIpLut()
{
    const std::string fault = m_IpLut.fault();
    if (!fault.empty() && fault != m_IpLutFault)
        complain(fault);
    m_IpLutFault = fault;
}

void LiveBoard::keepHouse(bool atEnd)
{
    reportDamage(m_TablesTouched > m_TablesChecked);
    if (m_TablesTouched > m_TablesChecked) {
        const bool certain = m_Router.checkPidLut();
        if (certain && m_Now - m_TablesTouched >= ATTENTION) {
            checkIpLut();
            m_TablesChecked = m_Now;
        }
    }
    m_Outputs.update(m_BoardNow);
    checkSpeed();
    for (const std::string& loss : m_Port.losses(m_Now, atEnd))
        complain(loss);
    showCounters();
    m_NextHousekeeping = m_Now + HOUSEKEEPING;
}

LiveBoard::Clock::duration LiveBoard::longestSleep() const
{
    const Clock::duration quiet = m_Now - m_LastWork;
    if (quiet < ATTENTION)
        return ATTENTIVE;
    return quiet < WAKEFULNESS || !m_Watch.works() ? Clock::duration(DROWSY) : Clock::duration(ASLEEP);
}

void LiveBoard::sleepUntilNeeded()
{
    Clock::duration span = longestSleep();
    std::vector<pollfd> signs;
    const auto watch = [&signs](int descriptor) {
        signs.push_back({.fd = descriptor, .events = POLLIN, .revents = 0});
    };
    watch(m_Watch.descriptor());
    watch(m_Sign); // poll() passes over a negative one
    if (m_IpInput)
        watch(m_IpInput->descriptor());
    for (const Channel& channel : m_Channels) {
        if (!channel.channel)
            continue;
        if (channel.channel->wantsData() && !channel.channel->ended())
            watch(channel.channel->descriptor());
        if (channel.channel->hasPackets())
            span = std::min(span, m_Time.machineTimeAt(channel.channel->nextDue()) - Clock::now());
    }
    if (m_Pace == Feed::Pace::PCR)
        for (const FedInput& input : m_Feeds)
            if (input.feed->nextDue() != Clock::time_point::max())
                span = std::min(span, m_Time.machineTimeAt(input.feed->nextDue()) - Clock::now());
    if (span <= Clock::duration::zero())
        return;
    const auto nanoseconds = std::chrono::duration_cast<std::chrono::nanoseconds>(span).count(); // far below a second
    const timespec wait{.tv_sec = 0, .tv_nsec = static_cast<decltype(timespec::tv_nsec)>(nanoseconds)};
    sigset_t none;
    ::sigemptyset(&none);
    ::ppoll(signs.data(), signs.size(), &wait, &none);
}

void LiveBoard::writeOut()
{
    m_Now = Clock::now();
    m_BoardNow = m_Time.at(m_Now);
    m_IpLut.followBank();
    endIpLutFilling();
    keepHouse(true);
}

void LiveBoard::run(const std::function<bool()>& ended, int sign)
{
    m_Sign = sign;
    while (!ended()) {
        m_Now = Clock::now();
        m_BoardNow = m_Time.at(m_Now);
        const bool busy = serve();
        if (busy)
            m_LastWork = m_Now;
        if (m_Now >= m_NextHousekeeping)
            keepHouse();
        sleepUntilNeeded();
    }
    writeOut();
}

} // namespace Osl::VirtualBoard
