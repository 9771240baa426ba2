#include "virtual_board/stream_outputs.h"

#include "virtual_board/board_folder.h"

#include <osl/cpputils/netaddress.h>
#include <osl/userspace_drivers/drivers/zeb/attr/cammonitor.h>
#include <osl/userspace_drivers/drivers/zeb/ts/diag/port_names.h>
#include <osl/userspace_drivers/drivers/zeb/ts/ipoutentry.h>
#include <osl/userspace_drivers/drivers/zeb/ts/physoutentry.h>
#include <osl/userspace_drivers/drivers/zeb/ts/tablelayout.h>

#include <fmt/format.h>

#include <array>
#include <iostream>
#include <utility>

namespace Osl::VirtualBoard {

using namespace Drivers::Zeb;

StreamOutputs::StreamOutputs(volatile uint32_t* ioBlock, const std::filesystem::path& root, Network network,
                             Complain complain)
    : m_Block(ioBlock),
      m_Complain(std::move(complain)),
      m_Physical(root / OUTPUTS_FOLDER, m_Complain),
      m_Sender(network == Network::PRIVATE ? std::make_unique<MulticastSender>() : nullptr),
      m_Datagrams(
          [this](const DatagramTarget& target, std::span<const uint8_t> datagram) { m_Sender->send(target, datagram); })
{
    for (uint32_t slot = 0; slot < CamSlot::SLOTS; ++slot)
        m_CamSlots.emplace_back(slot, root);
}

void StreamOutputs::send(uint8_t tso, const uint8_t* packet, Clock::time_point now)
{
    toPhysical(tso, packet);
    toNetwork(tso, packet, now);
}

void StreamOutputs::toPhysical(uint8_t tso, const uint8_t* packet)
{
    static const uint32_t FIRST_CAM = camOutputIndex(0);
    const std::array<uint32_t, PHYS_OUT_MAP.wordsPerRow> row{m_Block[PHYS_OUT_MAP.rowOffset(tso)]};
    if (PhysOutFields::ENABLED.get(row) == 0)
        return;
    const uint32_t phyOIdx = PhysOutFields::PHYO_IDX.get(row);
    m_Physical.send(phyOIdx, packet);
    if (phyOIdx >= FIRST_CAM && phyOIdx - FIRST_CAM < m_CamSlots.size())
        m_CamSlots[phyOIdx - FIRST_CAM].count(packet);
}

void StreamOutputs::toNetwork(uint8_t tso, const uint8_t* packet, Clock::time_point now)
{
    std::array<uint32_t, IP_OUT_MAP.wordsPerRow> row{};
    for (uint32_t word = 0; word < IP_OUT_MAP.wordsPerRow; ++word)
        row[word] = m_Block[IP_OUT_MAP.rowOffset(tso) + word];
    if (IpOutFields::ENABLED.get(row) == 0)
        return;
    const uint32_t group = IpOutFields::IP.get(row);
    if (!CppUtil::IpAdrContainer(group).isMulticast()) {
        if (m_BadGroups.insert(group).second)
            m_Complain(fmt::format("TSO {} is sent to {}, which is not a multicast group", tso,
                                   CppUtil::IpAdrContainer(group).toString()));
        return;
    }
    if (!m_Sender) {
        if (!std::exchange(m_MissingNetworkReported, true))
            std::cerr << "virtual board: TSO " << +tso
                      << " has a multicast group, but this board has no network (--net)" << std::endl;
        return;
    }
    m_Datagrams.add(tso,
                    {.group = group,
                     .port = static_cast<uint16_t>(IpOutFields::UDP_PORT.get(row)),
                     .rtp = IpOutFields::RTP.get(row) != 0},
                    packet, now);
}

void StreamOutputs::sendDatagrams()
{
    if (m_Sender)
        m_Sender->flush();
}

void StreamOutputs::update(Clock::time_point now)
{
    m_Datagrams.flush(now);
    sendDatagrams();
    m_Physical.flush();
    for (CamSlot& slot : m_CamSlots)
        slot.update();
}

} // namespace Osl::VirtualBoard
