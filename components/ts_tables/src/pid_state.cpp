#include "pid_state.h"

#include "table_names.h"

#include <osl/ts_basics/ll_tspackets.h>

#include <fmt/format.h>

#include <algorithm>
#include <cstddef>

namespace Osl::Ts {

void PidState::hear(Hearing from)
{
    if (from == Hearing::EVERYTHING && hearing != from)
        continuity = {};
    hearing = from;
    heard = heard || from != Hearing::NOTHING;
    heardAll = heardAll || from == Hearing::EVERYTHING;
}

void PidState::count(const uint8_t* packet)
{
    ++packets;
    if (hearing == Hearing::EVERYTHING && continuity.isError(packet))
        ++gaps;
    if (Ll::hasTransportError(packet)) {
        ++transportErrors;
        return;
    }
    scrambled += Ll::scramblingControl(packet) != 0 ? 1U : 0U;
    hasPcr = hasPcr || Ll::hasPcr(packet);
}

void PidState::look(const uint8_t* packet)
{
    constexpr std::size_t PES_START_BYTES = 4;
    const std::size_t payload = Ll::payloadOffset(packet);
    if (payload + PES_START_BYTES > TS_SIZE)
        return;
    const uint8_t* const unit = packet + payload;
    if (unit[0] == 0 && unit[1] == 0 && unit[2] == 1) {
        streamId = unit[3];
        return;
    }
    const std::size_t section = payload + 1U + unit[0];
    if (section < TS_SIZE)
        tableIds.set(packet[section]);
}

std::vector<std::string> PidState::tableNames() const
{
    std::vector<std::string> names;
    for (unsigned id = 0; id < tableIds.size(); ++id) {
        const std::string name(tableIds[id] ? tableName(static_cast<uint8_t>(id)) : "");
        if (!name.empty() && std::find(names.begin(), names.end(), name) == names.end())
            names.push_back(name);
    }
    return names;
}

std::string PidState::looksLike() const
{
    // ISO/IEC 13818-1, table 2-22
    if (streamId != 0) {
        if ((streamId & 0xE0U) == 0xC0)
            return "PES packets of audio";
        return (streamId & 0xF0U) == 0xE0 ? "PES packets of video" : "PES packets of private data";
    }
    const std::vector<std::string> names = tableNames();
    return names.size() == 1 ? fmt::format("sections, {}", names[0]) : "";
}

} // namespace Osl::Ts
