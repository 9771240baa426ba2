#pragma once

#include "virtual_board/byte_counter.h"
#include "virtual_board/packet_port.h"
#include "virtual_board/router.h"
#include "virtual_board/tx_channel.h"

#include <osl/userspace_drivers/interfaces/pci/pciif.h>

#include <filesystem>
#include <functional>
#include <memory>
#include <vector>

namespace Osl::VirtualBoard {

/// The board at work on its folder: takes transfers, routes packets, counts, answers the packet port.
class LiveBoard : private IPacketSinks
{
public:
    /// `root` is the folder that makeBoard() made. Raises BoardError and what opening the devices raises.
    explicit LiveBoard(const std::filesystem::path& root);

    /// Works until `ended` answers true; it is asked every millisecond or so.
    void run(const std::function<bool()>& ended);

private:
    struct Channel
    {
        std::unique_ptr<TxChannel> channel; ///< empty where a file that is no pipe stands for the device
        ByteCounter counter;
    };

    volatile uint32_t* wordsOf(Pci::PciIf& device) const;
    bool serve(TxChannel::Clock::time_point now);
    void showCounters();
    void sleepUntilNeeded(bool busy, TxChannel::Clock::time_point now);
    void route(uint32_t header, const uint8_t* packet);

    void toCpu(uint8_t tsi, const uint8_t* packet) override { m_Port.deliver(tsi, packet); }
    void toOutput(uint8_t, const uint8_t*) override {}
    void complain(const std::string& what) override;

    std::filesystem::path m_Root;
    Pci::PciIf m_PidBlock;
    Pci::PciIf m_PortRegisters;
    Router m_Router;
    PacketPort m_Port;
    ByteCounter m_RxCounter;
    std::vector<Channel> m_Channels;
    TxChannel::Clock::time_point m_LastWork;
    TxChannel::Clock::time_point m_NextHousekeeping;
};

} // namespace Osl::VirtualBoard
