#include <osl/cpputils/assertion.h>
#include <osl/ts_basics/tspacket.h>

#include <utility>

namespace Osl::Ts {

ScramblingControl TSPacket::scramblingControl() const
{
    return static_cast<ScramblingControl>(Ll::scramblingControl(tsData()));
}

uint64_t TSPacket::pcr() const
{
    if (!hasPcr())
        OSL_RAISE(TsPacketError, "Packet contains no PCR stamp");
    return Ll::pcr(tsData());
}

ShrdBuffIO_TSPacket::ShrdBuffIO_TSPacket(std::shared_ptr<uint8_t[]> record, std::size_t packet_size)
    : m_Record(std::move(record)),
      m_RecordSize(packet_size)
{
    OSL_ASSERT(packet_size >= static_cast<std::size_t>(TS_SIZE));
}

} // namespace Osl::Ts
