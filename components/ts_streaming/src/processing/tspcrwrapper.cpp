#include <osl/cpputils/log.h>
#include <osl/ts_streaming/processing/tspcrwrapper.h>

#include <utility>

namespace Osl::Ts::Streaming {
namespace {

/// PIDs up to 32 are kept for tables and are never taken as the PCR PID.
constexpr uint16_t LAST_TABLE_PID = 32;

bool canCarryPcr(uint16_t pid) { return pid > LAST_TABLE_PID && pid != NULL_PID; }

/// A PTS or DTS, 33 bits of 90 kHz in five bytes (ISO/IEC 13818-1, 2.4.3.6): prefix (4 bits), bits 32..30, marker, bits
/// 29..15, marker, bits 14..0, marker.
constexpr std::size_t STAMP_SIZE = 5;

uint64_t readStamp(const uint8_t* b)
{
    return uint64_t{static_cast<uint8_t>(b[0] >> 1 & 7)} << 30 | uint64_t{b[1]} << 22 | uint64_t{b[2]} >> 1 << 15 |
           uint64_t{b[3]} << 7 | b[4] >> 1;
}

void writeStamp(uint8_t* b, uint64_t value)
{
    b[0] = static_cast<uint8_t>((b[0] & 0xF0) | (value >> 30 & 7) << 1 | 1);
    b[1] = static_cast<uint8_t>(value >> 22);
    b[2] = static_cast<uint8_t>(value >> 15 << 1 | 1);
    b[3] = static_cast<uint8_t>(value >> 7);
    b[4] = static_cast<uint8_t>(value << 1 | 1);
}

/// A PES packet starts with 00 00 01, stream id, length (2 bytes); all but these kinds go on with '10' and flags, the
/// flags of the stamps (2 bits of byte 7), and the length of what follows (byte 8).
constexpr std::size_t PES_HEADER_SIZE = 9;

bool hasOptionalHeader(uint8_t streamId)
{
    switch (streamId) {
    case 0xBC: // program stream map
    case 0xBE: // padding
    case 0xBF: // private stream 2
    case 0xF0: // ECM
    case 0xF1: // EMM
    case 0xF2: // DSM-CC
    case 0xF8: // ITU-T H.222.1 type E
    case 0xFF: // program stream directory
        return false;
    default:
        return true;
    }
}

/// Number of time stamps, 0 to 2, that the PES header at `b` carries.
std::size_t stampCount(const uint8_t* b)
{
    if (b[0] != 0 || b[1] != 0 || b[2] != 1 || !hasOptionalHeader(b[3]) || (b[6] & 0xC0) != 0x80)
        return 0;
    const std::size_t count = b[7] >> 6 == 3 ? 2 : b[7] >> 6 == 2 ? 1 : 0;
    return b[8] >= count * STAMP_SIZE ? count : 0;
}

} // namespace

TsPcrWrapper::TsPcrWrapper(std::unique_ptr<ITsProcessChain> next, uint64_t packetsPerPass)
    : TsProcessChainLink(std::move(next)),
      m_PacketsPerPass(packetsPerPass)
{
}

uint64_t TsPcrWrapper::passLength(uint64_t packetsInPass) const
{
    const uint64_t packets = m_Last.index - m_First.index;
    if (packets == 0)
        return packetsInPass * DEFAULT_PACKET_TICKS;
    const uint64_t span = (m_Last.pcr + PCR_RANGE - m_First.pcr) % PCR_RANGE;
    // The product of both may not fit 64 bits.
    return span / packets * packetsInPass + (span % packets * packetsInPass + packets / 2) / packets;
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
    const std::size_t offset = Ll::payloadOffset(packet);
    if (offset + PES_HEADER_SIZE > TS_SIZE)
        return;
    uint8_t* const pes = packet + offset;
    const std::size_t count = stampCount(pes);
    if (offset + PES_HEADER_SIZE + count * STAMP_SIZE > TS_SIZE) {
        if (!std::exchange(m_WarnedCut, true))
            CppUtil::Log::instance().warning("PID {} (0x{:04x}) has a PES header across packets: its PTS and DTS are "
                                             "left as they are",
                                             Ll::pid(packet), Ll::pid(packet));
        return;
    }
    const uint64_t offset90kHz = (m_Offset + PCR_TICKS_PER_BASE / 2) / PCR_TICKS_PER_BASE;
    for (std::size_t i = 0; i < count; ++i) {
        uint8_t* const stamp = pes + PES_HEADER_SIZE + i * STAMP_SIZE;
        writeStamp(stamp, readStamp(stamp) + offset90kHz);
    }
}

void TsPcrWrapper::handle(uint8_t* packet)
{
    if (m_PacketsPerPass != 0 && m_Index == m_PacketsPerPass)
        startPass(m_PacketsPerPass);
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
