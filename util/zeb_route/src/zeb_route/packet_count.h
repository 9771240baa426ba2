#pragma once

#include "zeb_route/board.h"
#include "zeb_route/listening_post.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <vector>

namespace Osl::ZebRoute {

/// What was counted of a PID.
struct PidCount
{
    uint64_t packets = 0;
    double bitsPerSecond = 0;
    double share = 0; ///< of all packets of the TSI, 0..1
};

/// Counts all packets of PIDs of a TSI, although none of them comes to the processor: each PID is sent to an output
/// that leads nowhere, as well as where it goes, and counted there.
class PacketCount
{
public:
    /// `before` is what the board routes without the post; all must outlive this. `meanwhile` is called every few
    /// milliseconds, and answers whether to go on.
    PacketCount(Board& board, const ZebRouting::Tables& before, uint8_t tsi, ListeningPost& post,
                std::function<bool()> meanwhile);

    /// Takes `time` in all, but for many PIDs, which are counted one after the other for some time each. PIDs for which
    /// there are no rows are missing in the answer.
    std::map<uint16_t, PidCount> count(const std::vector<uint16_t>& pids, std::chrono::steady_clock::duration time);

private:
    struct Turn;

    bool countTurn(const Turn& turn, std::map<uint16_t, PidCount>& counts);

    Board& m_Board;
    const ZebRouting::Tables& m_Before;
    uint8_t m_Tsi;
    ListeningPost& m_Post;
    std::function<bool()> m_Meanwhile;
};

} // namespace Osl::ZebRoute
