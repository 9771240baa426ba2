#include <osl/cpputils/log.h>
#include <osl/ts_basics/ll_pes.h>
#include <osl/ts_streaming/processing/tspcrwrapper.h>

#include <utility>

namespace Osl::Ts::Streaming {
namespace {

constexpr uint16_t LAST_TABLE_PID = 32;

} // namespace

bool canCarryPcr(uint16_t pid) { return pid > LAST_TABLE_PID && pid != NULL_PID; }

uint64_t scaledPassLength(uint64_t span, uint64_t packetsBetween, uint64_t packetsInPass)
{
    // The product of both may not fit 64 bits.
    return span / packetsBetween * packetsInPass +
           (span % packetsBetween * packetsInPass + packetsBetween / 2) / packetsBetween;
}

TsPcrWrapper::TsPcrWrapper(std::unique_ptr<ITsProcessChain> next, uint64_t packetsPerPass,
                           std::function<uint64_t()> packetsBetween)
    : TsProcessChainLink(std::move(next)),
      m_PacketsPerPass(packetsPerPass),
      m_PacketsBetween(std::move(packetsBetween))
{
}

uint64_t TsPcrWrapper::passLength(uint64_t packetsInPass) const
{
    const uint64_t packets = m_Last.index - m_First.index;
    if (packets == 0)
        return packetsInPass * DEFAULT_PACKET_TICKS;
    return scaledPassLength((m_Last.pcr + PCR_RANGE - m_First.pcr) % PCR_RANGE, packets, packetsInPass);
}

void TsPcrWrapper::startPass(uint64_t packetsInPass)
{
    if (m_PassLength == 0)
        m_PassLength = passLength(packetsInPass) % PCR_RANGE;
    m_Offset = (m_Offset + m_PassLength) % PCR_RANGE;
    m_Index -= packetsInPass;
}

void TsPcrWrapper::handlePcr(uint8_t* packet)
{
    const uint64_t pcr = Ll::pcr(packet);
    const uint16_t pid = Ll::pid(packet);
    if (m_PcrPid == NULL_PID && canCarryPcr(pid)) {
        m_PcrPid = pid;
        m_First = m_Last = {pcr, m_Index};
        Ll::setDiscontinuity(packet);
    } else if (pid == m_PcrPid && m_PcrPid != NULL_PID) {
        if (m_PacketsPerPass == 0 && pcr == m_First.pcr)
            startPass(m_Index - m_First.index);
        if (m_PassLength == 0)
            m_Last = {pcr, m_Index};
    }
    // Other programmes' PCRs have to move with their PTS and DTS.
    if (m_Offset != 0)
        Ll::setPcr(packet, pcr + m_Offset);
}

void TsPcrWrapper::handlePayloadUnit(uint8_t* packet)
{
    if (Ll::scramblingControl(packet) != 0) {
        if (!std::exchange(m_WarnedScrambled, true))
            CppUtil::Log::instance().warning("PID {} (0x{:04x}) is scrambled: its PTS and DTS are left as they are",
                                             Ll::pid(packet), Ll::pid(packet));
        return;
    }
    const Ll::PesStamps stamps = Ll::findStamps(packet);
    if (stamps.cut && !std::exchange(m_WarnedCut, true))
        CppUtil::Log::instance().warning("PID {} (0x{:04x}) has a PES header across packets: its PTS and DTS are left "
                                         "as they are",
                                         Ll::pid(packet), Ll::pid(packet));
    const uint64_t offset90kHz = (m_Offset + PCR_TICKS_PER_BASE / 2) / PCR_TICKS_PER_BASE;
    for (std::size_t i = 0; i < stamps.count; ++i) {
        uint8_t* const stamp = packet + stamps.at(i);
        Ll::writeStamp(stamp, Ll::readStamp(stamp) + offset90kHz);
    }
}

void TsPcrWrapper::handle(uint8_t* packet)
{
    if (m_PacketsPerPass != 0 && m_Index == m_PacketsPerPass) {
        if (const auto packetsBetween = std::exchange(m_PacketsBetween, {}))
            m_PacketsPerPass += packetsBetween();
        if (m_Index == m_PacketsPerPass)
            startPass(m_PacketsPerPass);
    }
    if (Ll::hasPcr(packet))
        handlePcr(packet);
    if (m_Offset != 0 && Ll::startsPayloadUnit(packet))
        handlePayloadUnit(packet);
    ++m_Index;
}

void TsPcrWrapper::change(std::span<uint8_t> buffer)
{
    for (std::size_t at = 0; at < buffer.size(); at += TS_SIZE)
        handle(&buffer[at]);
}

} // namespace Osl::Ts::Streaming
