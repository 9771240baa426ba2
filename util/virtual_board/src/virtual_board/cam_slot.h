#pragma once

#include <osl/ts_basics/continuity_check.h>
#include <osl/ts_basics/ll_tspackets.h>

#include <array>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace Osl::VirtualBoard {

/// The monitor of a CAM slot: counts packets and continuity errors of the PIDs in its table, which is an attribute file
/// as the counters are.
class CamSlot
{
public:
    static constexpr uint32_t SLOTS = 8; ///< of the board

    /// `root` is the board's folder.
    CamSlot(uint32_t slot, const std::filesystem::path& root);

    /// A packet of 188 bytes goes to the CAM.
    void count(const uint8_t* packet);

    /// Adds what was counted to the counters' files, and looks at the table again with the next packet. To be called
    /// now and then, and at the end.
    void update();

private:
    struct Watched
    {
        uint32_t pid = 0;
        uint32_t packets = 0; ///< since the last update
        uint32_t errors = 0;
        Ts::ContinuityCheck continuity{};
    };

    void loadTable();
    void add(const std::string& attribute, uint32_t Watched::*counter) const;

    std::filesystem::path m_Folder;
    std::vector<Watched> m_Entries;
    std::array<uint16_t, Ts::NULL_PID + 1> m_EntryOf{}; ///< by PID
    bool m_TableKnown = false;
    bool m_Counted = false;
};

} // namespace Osl::VirtualBoard
