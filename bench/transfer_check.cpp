// Checks what a TX DMA channel takes while a file is sent in an endless loop, at memory speed: every segment lasts its
// PCR distance, counters run without gaps, and all time stamps stay where the length of a pass puts them.
//
// usage: transfer_check CHANNEL FILE
//
// CHANNEL is read to its end; FILE is what is sent there. Prints one line; ends with 1 and the first mistake on
// standard error when there is one.

#include <osl/cpputils/error.h>
#include <osl/ts_basics/ll_tspackets.h>
#include <osl/ts_streaming/outputs/pcrsegwriter_zebhw.h>

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <exception>
#include <fstream>
#include <iostream>
#include <iterator>
#include <optional>
#include <vector>

using namespace Osl;
using namespace Osl::Ts;
using Ts::Streaming::ZebPcrWriter;

namespace {

constexpr std::size_t HEADER_SIZE = ZebPcrWriter::RECORD_SIZE - TS_SIZE;

struct Mistake : Error
{
    using Error::Error;
};

uint64_t bigEndian(const uint8_t* bytes)
{
    return uint64_t{bytes[0]} << 24 | uint64_t{bytes[1]} << 16 | uint64_t{bytes[2]} << 8 | bytes[3];
}

/// PTS of a video or audio PES packet that starts in this packet.
std::optional<uint64_t> pts(const uint8_t* packet)
{
    const std::size_t offset = Ll::payloadOffset(packet);
    if (!Ll::startsPayloadUnit(packet) || offset + 14 > TS_SIZE)
        return std::nullopt;
    const uint8_t* const pes = packet + offset;
    if (std::memcmp(pes, "\0\0\1", 3) != 0 || (pes[7] & 0x80) == 0)
        return std::nullopt;
    const uint8_t* const b = pes + 9;
    return (uint64_t{b[0]} >> 1 & 7) << 30 | uint64_t{b[1]} << 22 | uint64_t{b[2]} >> 1 << 15 | uint64_t{b[3]} << 7 |
           b[4] >> 1;
}

class Checker
{
public:
    explicit Checker(std::vector<uint8_t> file) : m_File(std::move(file)) { m_LastCounter.fill(-1); }

    void segment(uint64_t spacing, uint64_t remainder)
    {
        m_LastDuration = m_Spacing * m_SegmentPackets + m_Remainder;
        m_Spacing = spacing;
        m_Remainder = remainder;
        m_SegmentPackets = 0;
    }

    void packet(const uint8_t* sent)
    {
        const auto index = static_cast<std::size_t>(m_Packets % (m_File.size() / TS_SIZE));
        const uint8_t* const source = &m_File[index * TS_SIZE];
        if (index == 0 && m_Packets != 0)
            ++m_Passes;
        require(Ll::pid(sent) == Ll::pid(source), "another packet than the file's");
        checkCounter(sent);
        if (Ll::hasPcr(sent))
            checkPcr(sent, source);
        if (const auto stamp = pts(sent); stamp && m_PassLength != 0) {
            const uint64_t offset = (m_Passes * m_PassLength % PCR_RANGE + PCR_TICKS_PER_BASE / 2) / PCR_TICKS_PER_BASE;
            require(*stamp == (*pts(source) + offset) % TIME_STAMP_RANGE, "a PTS out of its place");
        }
        ++m_SegmentPackets;
        ++m_Packets;
    }

    std::string result() const
    {
        return fmt::format("{} packets, {} passes of {} ticks, {:.2f} hours of stream time", m_Packets, m_Passes,
                           m_PassLength, static_cast<double>(m_Time) / PCR_TICKS_PER_SECOND / 3600);
    }

private:
    void require(bool good, const char* mistake) const
    {
        if (!good)
            OSL_RAISE(Mistake, fmt::format("packet {} in pass {}: {}", m_Packets, m_Passes, mistake));
    }

    void checkCounter(const uint8_t* sent)
    {
        const uint16_t pid = Ll::pid(sent);
        if (pid == NULL_PID)
            return;
        int& last = m_LastCounter[pid];
        const int counter = Ll::continuityCounter(sent);
        require(last == -1 || counter == (last + Ll::hasPayload(sent)) % 16, "a gap in a continuity counter");
        last = counter;
    }

    void checkPcr(const uint8_t* sent, const uint8_t* source)
    {
        const uint64_t pcr = Ll::pcr(sent);
        const uint64_t offset = (pcr + PCR_RANGE - Ll::pcr(source)) % PCR_RANGE;
        if (m_Passes == 1 && m_PassLength == 0)
            m_PassLength = offset;
        require(offset == m_Passes * m_PassLength % PCR_RANGE, "a PCR out of its place");
        if (m_PcrPid == NULL_PID)
            m_PcrPid = Ll::pid(sent);
        if (Ll::pid(sent) != m_PcrPid)
            return;
        require(m_SegmentPackets == 0, "a PCR inside a segment");
        if (m_LastPcr) {
            const uint64_t distance = (pcr + PCR_RANGE - *m_LastPcr) % PCR_RANGE;
            require(m_LastDuration == distance, "a segment that does not last its PCR distance");
            m_Time += distance;
        }
        m_LastPcr = pcr;
    }

    std::vector<uint8_t> m_File;
    std::array<int, NULL_PID + 1> m_LastCounter{};
    uint64_t m_Spacing = 0, m_Remainder = 0, m_SegmentPackets = 0, m_LastDuration = 0;
    std::optional<uint64_t> m_LastPcr;
    uint16_t m_PcrPid = NULL_PID;
    uint64_t m_Packets = 0, m_Passes = 0, m_PassLength = 0, m_Time = 0;
};

void check(std::istream& channel, Checker& checker)
{
    std::array<uint8_t, ZebPcrWriter::RECORD_SIZE> bytes{};
    const auto read = [&](std::size_t from, std::size_t to) {
        return static_cast<bool>(
            channel.read(reinterpret_cast<char*>(&bytes[from]), static_cast<std::streamsize>(to - from)));
    };
    while (read(0, ZebPcrWriter::SEGMENT_HEAD_SIZE)) {
        if (bytes[HEADER_SIZE] != SYNC_BYTE) {
            checker.segment(bigEndian(bytes.data()), bigEndian(&bytes[HEADER_SIZE]));
            continue;
        }
        if (!read(ZebPcrWriter::SEGMENT_HEAD_SIZE, ZebPcrWriter::RECORD_SIZE))
            OSL_RAISE(Mistake, "the last record is cut");
        checker.packet(&bytes[HEADER_SIZE]);
    }
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 3) {
        std::cerr << "usage: transfer_check CHANNEL FILE\n";
        return 2;
    }
    try {
        std::ifstream file(argv[2], std::ios::binary);
        std::vector<uint8_t> packets{std::istreambuf_iterator<char>(file), {}};
        packets.resize(packets.size() / TS_SIZE * TS_SIZE);
        Checker checker(std::move(packets));
        std::vector<char> buffer(1 << 20);
        std::ifstream channel;
        channel.rdbuf()->pubsetbuf(buffer.data(), static_cast<std::streamsize>(buffer.size()));
        channel.open(argv[1], std::ios::binary);
        check(channel, checker);
        std::cout << checker.result() << std::endl;
        return 0;
    } catch (const std::exception& error) {
        std::cerr << "transfer_check: " << error.what() << std::endl;
        return 1;
    }
}
