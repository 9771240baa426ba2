#include "zeb_route/packet_tap.h"

#include <osl/ts_basics/ll_tspackets.h>

#include <utility>

namespace Osl::ZebRoute {

using Drivers::Zeb::PktIODriver;
using Clock = std::chrono::steady_clock;

namespace {

constexpr std::size_t TSI_BYTE = 3; ///< of the header as it lies in the record
/// However much comes from other inputs.
constexpr std::chrono::milliseconds LONGEST_LOOK{50};

} // namespace

PacketTap::PacketTap(std::function<bool()> stopped)
    : m_Stopped(std::move(stopped)),
      m_Port(Drivers::Zeb::ReceivePort::overStream(m_Registers, Drivers::Zeb::PKTIO_RX_PATH, m_Stopped, &Clock::now))
{
}

const uint8_t* PacketTap::next(uint8_t tsi, bool isPatient)
{
    const auto* const record = reinterpret_cast<const uint8_t*>(m_Record.data());
    const Clock::time_point end = Clock::now() + LONGEST_LOOK;
    while (isPatient ? m_Port.driver().readPacket(m_Record.data(), 0) : m_Port.takeWaiting(m_Record.data())) {
        const uint8_t* const packet = record + PktIODriver::HEADER_SIZE;
        if (record[TSI_BYTE] == tsi && Ts::Ll::hasSync(packet))
            return packet;
        if (m_Stopped() || Clock::now() >= end)
            break;
    }
    return nullptr;
}

void PacketTap::discardWaiting() { m_Port.discardWaiting(m_Stopped, &Clock::now); }

} // namespace Osl::ZebRoute
