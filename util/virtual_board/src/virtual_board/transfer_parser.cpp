#include "virtual_board/transfer_parser.h"

#include <osl/ts_basics/ll_tspackets.h>
#include <osl/ts_streaming/outputs/pcrsegwriter_zebhw.h>

#include <algorithm>

namespace Osl::VirtualBoard {

using Ts::Streaming::ZebPcrWriter;

namespace {

constexpr std::size_t HEADER_SIZE = ZebPcrWriter::RECORD_SIZE - Ts::TS_SIZE;
constexpr std::size_t RESERVED = 8; ///< offset of a segment head's zeros

uint32_t loadBigEndian(const uint8_t* from)
{
    return uint32_t{from[0]} << 24 | uint32_t{from[1]} << 16 | uint32_t{from[2]} << 8 | from[3];
}

bool isSegmentHead(const uint8_t* head)
{
    return loadBigEndian(head) < ZebPcrWriter::SPACING_LIMIT &&
           loadBigEndian(head + 4) < ZebPcrWriter::REMAINDER_LIMIT &&
           std::all_of(head + RESERVED, head + ZebPcrWriter::SEGMENT_HEAD_SIZE, [](uint8_t byte) { return byte == 0; });
}

} // namespace

void TransferParser::reportGarbage()
{
    if (m_Garbage != 0)
        m_Events.onGarbage(m_Garbage);
    m_Garbage = 0;
}

/// Bytes that were used; 0 when more are needed.
std::size_t TransferParser::parseAt(std::size_t position)
{
    const uint8_t* const bytes = &m_Bytes[position];
    const std::size_t available = m_Bytes.size() - position;
    if (available < ZebPcrWriter::SEGMENT_HEAD_SIZE)
        return 0;
    const bool isRecord = bytes[HEADER_SIZE] == Ts::SYNC_BYTE;
    if (isRecord && available < ZebPcrWriter::RECORD_SIZE)
        return 0;
    if (!isRecord && !isSegmentHead(bytes)) {
        m_Garbage += HEADER_SIZE;
        return HEADER_SIZE;
    }
    reportGarbage();
    if (isRecord) {
        m_Events.onPacket(loadBigEndian(bytes), bytes + HEADER_SIZE);
        return ZebPcrWriter::RECORD_SIZE;
    }
    m_Events.onSegment(loadBigEndian(bytes), loadBigEndian(bytes + HEADER_SIZE));
    return ZebPcrWriter::SEGMENT_HEAD_SIZE;
}

void TransferParser::feed(std::span<const uint8_t> bytes)
{
    m_Bytes.insert(m_Bytes.end(), bytes.begin(), bytes.end());
    std::size_t position = 0;
    while (position < m_Bytes.size()) {
        const std::size_t used = parseAt(position);
        if (used == 0)
            break;
        position += used;
    }
    m_Bytes.erase(m_Bytes.begin(), m_Bytes.begin() + static_cast<std::ptrdiff_t>(position));
}

void TransferParser::end()
{
    if (m_Garbage != 0)
        m_Garbage += m_Bytes.size();
    else if (!m_Bytes.empty())
        m_Events.onTruncated(m_Bytes.size());
    m_Bytes.clear();
    reportGarbage();
}

} // namespace Osl::VirtualBoard
