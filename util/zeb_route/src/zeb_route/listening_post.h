#pragma once

#include "zeb_route/board.h"

#include <osl/zeb_routing/listening.h>

namespace Osl::ZebRoute {

/// The rows by which packets of a TSI come to the processor for a time. Goes only after all rows were put back, or
/// could not be.
class ListeningPost
{
public:
    /// `before` is what the board shall hold again. What a killed listener has left goes now.
    ListeningPost(Board& board, const ZebRouting::Tables& before, uint8_t tsi);
    ~ListeningPost();
    ListeningPost(const ListeningPost&) = delete;
    ListeningPost& operator=(const ListeningPost&) = delete;

    /// From now on packets come, or are counted, as `copies` say. Raises ZebRouting::RoutingError.
    void listen(const ZebRouting::Copies& copies);
    /// Puts everything back, and reads the board again to see that it is. Raises ZebRouting::RoutingError.
    void leave();

private:
    void goTo(const ZebRouting::Tables& target);

    Board& m_Board;
    ZebRouting::Tables m_Before;
    ZebRouting::Tables m_Now;
    uint8_t m_Tsi;
    bool m_IsThere = true;
};

} // namespace Osl::ZebRoute
