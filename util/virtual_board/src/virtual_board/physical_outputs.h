#pragma once

#include "virtual_board/reporting.h"

#include <cstdint>
#include <filesystem>
#include <map>
#include <vector>

namespace Osl::VirtualBoard {

/// The board's physical outputs: what leaves through one is added to the end of a file with its name ("modulator0.ts").
/// The files may be removed at any time; the next packet makes a fresh one.
class PhysicalOutputs
{
public:
    /// The files are in `folder`.
    PhysicalOutputs(std::filesystem::path folder, Complain complain);

    /// Sends the 188 bytes at `packet`, which are in the file after the next flush(). Complains, once for each index,
    /// when the board has no such output.
    void send(uint32_t phyOIdx, const uint8_t* packet);
    void flush();

private:
    struct Output
    {
        std::filesystem::path file; ///< empty: not there, which was reported
        std::vector<uint8_t> waiting{};
        bool failed = false; ///< which was reported
    };

    Output makeOutput(uint32_t phyOIdx) const;
    void flush(Output& output);

    std::filesystem::path m_Folder;
    Complain m_Complain;
    std::map<uint32_t, Output> m_Outputs; ///< by PHYOIDX
};

} // namespace Osl::VirtualBoard
