#pragma once

#include <osl/ts_basics/ll_pes.h>
#include <osl/ts_basics/ll_tspackets.h>

#include <array>
#include <bitset>
#include <cstddef>
#include <cstdint>
#include <map>
#include <span>
#include <string>
#include <vector>

namespace Osl::Ts::Streaming {

/// What has to come between the end of a file and its next start for its time stamps to run on evenly: null packets, at
/// the file's own rate, until the last frame of its longest stream is over, and among them PCRs, so that none is
/// missed. Found out from one pass of the file.
class LoopSeam
{
public:
    /// Whole packets of the pass, in order.
    void examine(std::span<const uint8_t> packets);
    /// To be called at the end of the pass; the rest is for use afterwards.
    void plan();

    uint64_t packets() const { return m_Packets; } ///< between end and start; 0 when nothing is needed
    /// Fills `to` with packets from number `first` on.
    void copy(uint64_t first, std::span<uint8_t> to) const;
    /// Why time stamps will not run on all the same; empty when they will.
    const std::string& trouble() const { return m_Trouble; }

private:
    /// The PCRs of one PID.
    struct Clock
    {
        uint64_t firstPcr = 0, firstIndex = 0;
        uint64_t lastPcr = 0, lastIndex = 0;
        uint64_t longestStep = 0; ///< ticks
        double sinceLast = 0;     ///< ticks from the last PCR to the end of the file
    };

    /// The PES packets of one PID; all in 90 kHz, and relative to the first DTS.
    struct Stream
    {
        uint64_t lastStamp = 0; ///< as it stands in the packet
        int64_t dts = 0, maxDts = 0;
        int64_t minPts = 0, maxPts = 0;
        std::array<int64_t, 16> steps{}; ///< the last ones of the DTS
        std::size_t count = 0;           ///< of PES packets
        std::vector<uint8_t> payload;    ///< of the last PES packet; empty unless audio

        int64_t needed() const;
    };

    void examinePcr(const uint8_t* packet);
    void examinePayloadUnit(const uint8_t* packet);
    void gatherAudio(const uint8_t* packet);
    double lengthOfStreams(double natural);
    uint64_t passLength() const;
    void layOut(uint64_t fill);
    void addPcr(uint16_t pid, double ticksBehindLast);

    uint64_t m_Index = 0; ///< packets examined
    uint16_t m_MainPid = NULL_PID;
    std::map<uint16_t, Clock> m_Clocks;
    std::map<uint16_t, Stream> m_Streams;
    std::bitset<NULL_PID + 1> m_IsAudio; ///< by PID
    double m_Rate = 0;                   ///< ticks per packet
    uint64_t m_Packets = 0;
    std::map<uint64_t, std::array<uint8_t, TS_SIZE>> m_Pcrs; ///< by their place among m_Packets; the others are null
    std::string m_Trouble;
};

} // namespace Osl::Ts::Streaming
