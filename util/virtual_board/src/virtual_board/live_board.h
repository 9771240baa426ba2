#pragma once

#include "virtual_board/active_ip_lut.h"
#include "virtual_board/board_time.h"
#include "virtual_board/byte_counter.h"
#include "virtual_board/device_memory.h"
#include "virtual_board/device_users.h"
#include "virtual_board/device_watch.h"
#include "virtual_board/feed.h"
#include "virtual_board/multicast_input.h"
#include "virtual_board/packet_port.h"
#include "virtual_board/port_users.h"
#include "virtual_board/return_paths.h"
#include "virtual_board/router.h"
#include "virtual_board/settings.h"
#include "virtual_board/stream_outputs.h"
#include "virtual_board/tx_channel.h"

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <vector>

namespace Osl::VirtualBoard {

/// The board at work on its folder: takes in streams, routes packets, counts, serves the packet port.
class LiveBoard : private IPacketSinks
{
public:
    /// Works on the folder that makeBoard() made. Raises BoardError and what opening the devices and feeds raises.
    explicit LiveBoard(const Settings& settings);

    /// Works until `ended` returns true; it is asked now and then, after every signal, and when the descriptor `sign`
    /// is readable, unless that is negative.
    void run(const std::function<bool()>& ended, int sign = -1);

    /// Brings files and counters up to date, which run() does now and then and at its end.
    void writeOut();

private:
    using Clock = TxChannel::Clock;

    struct Channel
    {
        std::unique_ptr<TxChannel> channel; ///< empty where a file that is not a pipe is in place of the device
        ByteCounter bytes;
        ByteCounter underruns;
        uint64_t reportedUnderruns = 0;
    };

    struct FedInput
    {
        uint32_t phyIIdx;
        std::unique_ptr<Feed> feed;
    };

    void openChannels();
    void openFeeds(const Settings& settings);
    bool serve();
    bool servePort();
    bool serveRegisters();
    bool serveFeeds();
    bool serveIpInputs();
    void watchIpLutUsers();
    std::size_t countIpLutUsers() const;
    void endIpLutFilling();
    void reportDamage(bool touched);
    void checkIpLut();
    void keepHouse(bool atEnd = false);
    void showCounters();
    void checkSpeed();
    Clock::duration longestSleep() const;
    void sleepUntilNeeded();
    void route(uint32_t header, const uint8_t* packet);
    void reportDesignator(uint32_t header);
    void routeInput(uint8_t tsi, const uint8_t* packet);
    void takeBack(uint32_t phyIIdx, const uint8_t* packet);
    std::optional<uint8_t> tsiOf(uint32_t phyIIdx) const;

    void toCpu(uint8_t tsi, const uint8_t* packet) override { m_Port.deliver(tsi, packet); }
    void toOutput(uint8_t tso, const uint8_t* packet) override { m_Outputs.send(tso, packet, m_BoardNow); }
    void complain(const std::string& what) override;

    std::filesystem::path m_Root;
    UsersAre m_UsersAre;
    DeviceMemory m_PidBlock;
    DeviceMemory m_IoBlock;
    DeviceMemory m_PortRegisters;
    DeviceMemory m_Scrambler;
    Router m_Router;
    ReturnPaths m_ReturnPaths;
    StreamOutputs m_Outputs;
    ActiveIpLut m_IpLut;
    std::unique_ptr<MulticastInput> m_IpInput; ///< empty without a network
    PacketPort m_Port;
    PortUsers m_PortUsers;
    ByteCounter m_RxCounter;
    std::vector<Channel> m_Channels;
    Feed::Pace m_Pace;
    std::vector<FedInput> m_Feeds;
    DeviceWatch m_Watch;
    bool m_IpLutUsed = false;
    bool m_IpLutUserAlone = false; ///< since the last time that the table was seen to be the active one
    int m_Sign = -1;
    Clock::time_point m_TablesTouched; ///< when somebody last had the chance to
    Clock::time_point m_TablesChecked;
    std::string m_IpLutFault;                 ///< that was reported
    std::set<uint32_t> m_DesignatorsReported; ///< headers with unknown ones
    BoardTime m_Time;
    Clock::time_point m_Now;
    Clock::time_point m_BoardNow;
    Clock::duration m_FeedTimeLost{}; ///< which was reported
    Clock::time_point m_SpeedChecked;
    Clock::time_point m_LastWork;
    Clock::time_point m_NextHousekeeping;
};

} // namespace Osl::VirtualBoard
