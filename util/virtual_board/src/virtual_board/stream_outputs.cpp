#include "virtual_board/stream_outputs.h"

#include "virtual_board/block_rows.h"
#include "virtual_board/board_folder.h"

#include <osl/userspace_drivers/drivers/zeb/attr/cammonitor.h>
#include <osl/userspace_drivers/drivers/zeb/ts/port_names.h>

#include <fmt/format.h>

#include <utility>

namespace Osl::VirtualBoard {

using namespace Drivers::Zeb;

StreamOutputs::StreamOutputs(volatile uint32_t* ioBlock, const std::filesystem::path& root, Network network,
                             Complain complain, Leave leave)
    : m_Block(ioBlock),
      m_Complain(std::move(complain)),
      m_Leave(std::move(leave)),
      m_Physical(root / OUTPUTS_FOLDER, m_Complain),
      m_Sender(network != Network::NONE ? std::make_unique<MulticastSender>(groupDevice(network)) : nullptr),
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
    const auto row = rowOf<PhysOutEntry>(m_Block, tso);
    if (!row.isEnabled())
        return;
    const uint32_t phyOIdx = row.getPHYOidx();
    m_Physical.send(phyOIdx, packet);
    if (phyOIdx >= FIRST_CAM && phyOIdx - FIRST_CAM < m_CamSlots.size())
        m_CamSlots[phyOIdx - FIRST_CAM].count(packet);
    m_Leave(phyOIdx, packet);
}

void StreamOutputs::toNetwork(uint8_t tso, const uint8_t* packet, Clock::time_point now)
{
    const auto row = rowOf<IpOutEntry>(m_Block, tso);
    if (!row.isEnabled())
        return;
    const CppUtil::IpAdrContainer group = row.getIpAddress();
    if (!group.isMulticast()) {
        if (m_BadGroups.insert(group.value()).second)
            m_Complain(fmt::format("TSO {} is sent to {}, which is not a multicast group", tso, group.toString()));
        return;
    }
    if (!m_Sender) {
        if (!std::exchange(m_MissingNetworkReported, true))
            tell(fmt::format("TSO {} has a multicast group, but this board has no network (--net)", tso));
        return;
    }
    m_Datagrams.add(tso, {.group = group.value(), .port = row.getUdpPort(), .rtp = row.isRtp()}, packet, now);
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
