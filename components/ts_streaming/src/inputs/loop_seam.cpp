#include <osl/ts_basics/audio_frames.h>
#include <osl/ts_streaming/inputs/loop_seam.h>
#include <osl/ts_streaming/processing/tspcrwrapper.h>

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <optional>

namespace Osl::Ts::Streaming {
namespace {

/// ISO/IEC 13818-1, 2.7.4: audio and video have a stamp this often; what is further apart are single pictures or
/// subtitles, none of which lasts until the next. In 90 kHz.
constexpr int64_t LONGEST_STEP = 63'000;
/// More than this is no stream that outlasts the others, but a jump in its stamps.
constexpr uint64_t MAX_FILL = uint64_t{10} * PCR_TICKS_PER_SECOND;

/// As the length field of audio can tell.
constexpr std::size_t MAX_PES_PAYLOAD = 65535;

/// Stream ids of MPEG audio and AAC, and those that AC-3 shares with other private streams.
bool canBeAudio(uint8_t streamId) { return (streamId & 0xE0) == 0xC0 || streamId == 0xBD || streamId == 0xFD; }

/// The difference of two stamps that are less than half of their range apart.
int64_t difference(uint64_t later, uint64_t earlier)
{
    constexpr uint64_t HALF = TIME_STAMP_RANGE / 2;
    return static_cast<int64_t>((later - earlier + HALF) % TIME_STAMP_RANGE) - static_cast<int64_t>(HALF);
}

std::array<uint8_t, TS_SIZE> makePacket(uint16_t pid)
{
    std::array<uint8_t, TS_SIZE> packet{};
    packet.fill(0xFF);
    packet[0] = SYNC_BYTE;
    packet[1] = 0;
    packet[3] = PAYLOAD_BIT;
    Ll::setPid(packet.data(), pid);
    return packet;
}

/// Nothing but a PCR; continuity counters are put right behind the reader.
std::array<uint8_t, TS_SIZE> makePcrPacket(uint16_t pid, uint64_t ticks)
{
    auto packet = makePacket(pid);
    packet[3] = ADAPTATION_FIELD_BIT;
    packet[4] = TS_SIZE - 5;
    packet[5] = 0x10;
    Ll::setPcr(packet.data(), ticks);
    return packet;
}

} // namespace

/// 90 kHz from the first stamp of a pass to that of the next.
int64_t LoopSeam::Stream::needed() const
{
    // Without knowledge of what is in a PES packet, the last one is taken to be as long as the longest before it.
    const int64_t lastFrame = audioDuration(payload).value_or(*std::max_element(steps.begin(), steps.end()));
    return std::max(maxDts, maxPts - minPts) + lastFrame;
}

void LoopSeam::examinePcr(const uint8_t* packet)
{
    const uint16_t pid = Ll::pid(packet);
    if (!canCarryPcr(pid))
        return;
    if (m_MainPid == NULL_PID)
        m_MainPid = pid;
    const uint64_t pcr = Ll::pcr(packet);
    const auto [found, isNew] = m_Clocks.try_emplace(pid);
    Clock& clock = found->second;
    if (isNew) {
        clock.firstPcr = pcr;
        clock.firstIndex = m_Index;
    } else {
        const uint64_t step = (pcr + PCR_RANGE - clock.lastPcr) % PCR_RANGE;
        if (step > MAX_FILL && m_Trouble.empty())
            m_Trouble = fmt::format("The PCRs of PID {} (0x{:04x}) jump at packet {} of the file", pid, pid, m_Index);
        else
            clock.longestStep = std::max(clock.longestStep, step);
    }
    clock.lastPcr = pcr;
    clock.lastIndex = m_Index;
}

void LoopSeam::examinePayloadUnit(const uint8_t* packet)
{
    const Ll::PesStamps stamps = Ll::findStamps(packet);
    if (stamps.count == 0)
        return;
    const uint64_t pts = Ll::readStamp(packet + stamps.at(0));
    const uint64_t dts = Ll::readStamp(packet + stamps.at(stamps.count - 1));
    Stream& stream = m_Streams[Ll::pid(packet)];
    if (stream.count != 0) {
        const int64_t step = difference(dts, stream.lastStamp);
        stream.dts += step;
        stream.steps[stream.count % stream.steps.size()] = step <= LONGEST_STEP ? step : 0;
    }
    const int64_t relativePts = stream.dts + difference(pts, dts);
    stream.minPts = stream.count == 0 ? relativePts : std::min(stream.minPts, relativePts);
    stream.maxPts = stream.count == 0 ? relativePts : std::max(stream.maxPts, relativePts);
    stream.maxDts = std::max(stream.maxDts, stream.dts);
    stream.lastStamp = dts;
    ++stream.count;
    m_IsAudio[Ll::pid(packet)] = canBeAudio(packet[stamps.offset + 3]);
    stream.payload.clear();
    const std::size_t payload = stamps.offset + Ll::pesPayloadOffset(packet + stamps.offset);
    if (m_IsAudio[Ll::pid(packet)] && payload < TS_SIZE)
        stream.payload.assign(packet + payload, packet + TS_SIZE);
}

void LoopSeam::gatherAudio(const uint8_t* packet)
{
    std::vector<uint8_t>& payload = m_Streams[Ll::pid(packet)].payload;
    if (payload.size() < MAX_PES_PAYLOAD)
        payload.insert(payload.end(), packet + Ll::payloadOffset(packet), packet + TS_SIZE);
}

void LoopSeam::examine(std::span<const uint8_t> packets)
{
    for (std::size_t at = 0; at < packets.size(); at += TS_SIZE, ++m_Index) {
        const uint8_t* const packet = &packets[at];
        if (!Ll::hasSync(packet))
            continue;
        if (Ll::hasPcr(packet))
            examinePcr(packet);
        if (Ll::scramblingControl(packet) != 0)
            continue;
        if (Ll::startsPayloadUnit(packet))
            examinePayloadUnit(packet);
        else if (m_IsAudio[Ll::pid(packet)])
            gatherAudio(packet);
    }
}

/// Ticks that a pass needs, `natural` of which it has; streams with a jump in their stamps do not count.
double LoopSeam::lengthOfStreams(double natural)
{
    double longest = 0;
    for (const auto& [pid, stream] : m_Streams) {
        const auto needed = static_cast<double>(stream.needed()) * PCR_TICKS_PER_BASE;
        if (needed <= natural + static_cast<double>(MAX_FILL))
            longest = std::max(longest, needed);
        else if (m_Trouble.empty())
            m_Trouble = fmt::format("The time stamps of PID {} (0x{:04x}) run for {:.3f} s, the PCRs of the file for "
                                    "{:.3f} s",
                                    pid, pid, needed / PCR_TICKS_PER_SECOND, natural / PCR_TICKS_PER_SECOND);
    }
    return longest;
}

void LoopSeam::addPcr(uint16_t pid, double ticksBehindLast)
{
    const uint64_t pcr = m_Clocks[pid].lastPcr + static_cast<uint64_t>(std::llround(ticksBehindLast));
    m_Pcrs[m_Packets] = makePcrPacket(pid, pcr % PCR_RANGE);
}

/// At least `fill` packets, with a PCR wherever the next one would otherwise come too late.
void LoopSeam::layOut(uint64_t fill)
{
    m_Packets = 0;
    m_Pcrs.clear();
    std::map<uint16_t, double> waited; // since the last PCR
    for (const auto& [pid, clock] : m_Clocks)
        if (clock.longestStep != 0)
            waited[pid] = static_cast<double>(m_Index - clock.lastIndex) * m_Rate;
    const double round = m_Rate * static_cast<double>(waited.size()); // a PCR for each
    for (;; ++m_Packets) {
        std::optional<uint16_t> due;
        double mostOver = 0;
        for (const auto& [pid, ticks] : waited) {
            const Clock& clock = m_Clocks[pid];
            const auto longest = static_cast<double>(clock.longestStep);
            // Behind the filling the next PCR is the first one of the file. It may be a bit late: no more than a
            // packet.
            const double next = m_Packets < fill ? round : (static_cast<double>(clock.firstIndex) - 0.5) * m_Rate;
            const double over = ticks + next - longest;
            if (over > mostOver && ticks > round) {
                due = pid;
                mostOver = over;
            }
        }
        if (!due && m_Packets >= fill)
            return;
        if (due) {
            addPcr(*due, m_Clocks[*due].sinceLast + static_cast<double>(m_Packets) * m_Rate);
            waited[*due] = 0;
        }
        for (auto& [pid, ticks] : waited)
            ticks += m_Rate;
    }
}

/// As TsPcrWrapper will find it, from the first PCR to the last one of the pass, which may be in the seam.
uint64_t LoopSeam::passLength() const
{
    const Clock& clock = m_Clocks.at(m_MainPid);
    uint64_t last = clock.lastPcr, index = clock.lastIndex;
    for (const auto& [place, packet] : m_Pcrs) {
        if (Ll::pid(packet.data()) == m_MainPid) {
            last = Ll::pcr(packet.data());
            index = m_Index + place;
        }
    }
    return scaledPassLength((last + PCR_RANGE - clock.firstPcr) % PCR_RANGE, index - clock.firstIndex,
                            m_Index + m_Packets);
}

void LoopSeam::plan()
{
    if (m_MainPid == NULL_PID) {
        m_Trouble = "The file has no PCR, which would tell how long it lasts";
        return;
    }
    const Clock& main = m_Clocks.at(m_MainPid);
    if (main.lastIndex == main.firstIndex) {
        m_Trouble = "The file has only one PCR; it takes two to tell how long it lasts";
        return;
    }
    m_Rate = static_cast<double>((main.lastPcr + PCR_RANGE - main.firstPcr) % PCR_RANGE) /
             static_cast<double>(main.lastIndex - main.firstIndex);
    if (m_Rate <= 0)
        return;
    const double round = m_Rate * static_cast<double>(m_Clocks.size()); // a PCR for each
    for (auto& [pid, clock] : m_Clocks) {
        // Where the rate varies, the packets at the end can be many and take little time.
        const double atRate = static_cast<double>(m_Index - clock.lastIndex) * m_Rate;
        const auto longest = static_cast<double>(clock.longestStep);
        const double tolerance = m_Rate / 16; // PCRs are rounded, so that a constant rate is not quite constant
        clock.sinceLast = atRate > longest + tolerance ? std::max(0.0, longest - round) : atRate;
    }
    layOut(0);
    const double needed = lengthOfStreams(static_cast<double>(passLength()));
    // A PCR in the seam can change the rate that the pass is found to have, so one step may not be all.
    constexpr int MAX_STEPS = 4;
    uint64_t fill = 0;
    for (int i = 0; i < MAX_STEPS; ++i) {
        const double missing = needed - static_cast<double>(passLength());
        if (missing <= 0)
            return;
        fill = std::max(fill, m_Packets) + static_cast<uint64_t>(std::ceil(missing / m_Rate));
        layOut(fill);
    }
}

void LoopSeam::copy(uint64_t first, std::span<uint8_t> to) const
{
    static const auto NULL_PACKET = makePacket(NULL_PID);
    for (std::size_t at = 0; at < to.size(); at += TS_SIZE, ++first) {
        const auto pcr = m_Pcrs.find(first);
        std::memcpy(&to[at], pcr == m_Pcrs.end() ? NULL_PACKET.data() : pcr->second.data(), TS_SIZE);
    }
}

} // namespace Osl::Ts::Streaming
