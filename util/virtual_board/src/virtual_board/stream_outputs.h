#pragma once

#include "virtual_board/cam_slot.h"
#include "virtual_board/datagram_output.h"
#include "virtual_board/multicast_sender.h"
#include "virtual_board/network.h"
#include "virtual_board/physical_outputs.h"
#include "virtual_board/reporting.h"

#include <filesystem>
#include <functional>
#include <memory>
#include <set>
#include <vector>

namespace Osl::VirtualBoard {

/// The board's outputs: hands the packets of each TSO to the physical output and the multicast group that the maps in
/// the input/output block say at that moment.
class StreamOutputs
{
public:
    using Clock = DatagramOutput::Clock;

    using Leave = std::function<void(uint32_t phyOIdx, const uint8_t* packet)>;

    /// `ioBlock` are the block's words, which must outlive the outputs; `root` is the board's folder. `leave` is told
    /// of each packet that leaves through a physical output.
    StreamOutputs(volatile uint32_t* ioBlock, const std::filesystem::path& root, Network network, Complain complain,
                  Leave leave);

    /// A packet of 188 bytes leaves at `now`.
    void send(uint8_t tso, const uint8_t* packet, Clock::time_point now);

    /// Hands datagrams that are full to the network. To be called whenever packets were sent.
    void sendDatagrams();

    /// Writes files and counters, and sends what waited long enough. Must be called now and then.
    void update(Clock::time_point now);

private:
    void toPhysical(uint8_t tso, const uint8_t* packet);
    void toNetwork(uint8_t tso, const uint8_t* packet, Clock::time_point now);

    volatile uint32_t* m_Block;
    Complain m_Complain;
    Leave m_Leave;
    PhysicalOutputs m_Physical;
    std::vector<CamSlot> m_CamSlots;
    std::unique_ptr<MulticastSender> m_Sender; ///< empty without a network
    DatagramOutput m_Datagrams;
    std::set<uint32_t> m_BadGroups; ///< that were reported
    bool m_MissingNetworkReported = false;
};

} // namespace Osl::VirtualBoard
