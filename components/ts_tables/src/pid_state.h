#pragma once

#include "section_reader.h"

#include <osl/ts_basics/continuity_check.h>
#include <osl/ts_tables/stream_listener.h>

#include <bitset>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace Osl::Ts {

/// What was heard of one PID.
struct PidState
{
    Hearing hearing = Hearing::NOTHING;
    bool heard = false; ///< at some time
    bool hasPcr = false;
    bool heardAll = false; ///< at some time everything came
    uint8_t streamId = 0;  ///< of a PES packet; 0: none was seen
    uint64_t packets = 0;
    uint64_t scrambled = 0;
    uint64_t transportErrors = 0;
    uint64_t gaps = 0;    ///< counters that may not follow the one before
    uint64_t unsound = 0; ///< sections whose lengths do not fit together
    ContinuityCheck continuity;
    std::bitset<256> tableIds;             ///< seen at the start of payload units, or of whole sections
    std::unique_ptr<SectionReader> reader; ///< of a PID with tables that are read

    void hear(Hearing from);
    /// Counts a packet.
    void count(const uint8_t* packet);
    /// Finds out what a payload unit is that starts in a packet.
    void look(const uint8_t* packet);

    std::vector<std::string> tableNames() const;
    std::string looksLike() const;
};

} // namespace Osl::Ts
