#include "zeb_route/listening_post.h"

#include "zeb_route/command.h"

#include <osl/cpputils/error_text.h>

#include <fmt/format.h>

#include <exception>
#include <utility>

namespace Osl::ZebRoute {

using namespace ZebRouting;

ListeningPost::ListeningPost(Board& board, const Tables& before, uint8_t tsi)
    : m_Board(board),
      m_Before(before),
      m_Now(board.tables()),
      m_Tsi(tsi)
{
    goTo(m_Before);
}

ListeningPost::~ListeningPost()
{
    try {
        leave();
    } catch (const std::exception& error) {
        report(CppUtil::withoutPlace(error.what()));
    }
}

void ListeningPost::listen(const Copies& copies) { goTo(withCopies(m_Before, m_Tsi, copies)); }

void ListeningPost::leave()
{
    if (!std::exchange(m_IsThere, false))
        return;
    try {
        m_Now = m_Board.tables(); // whatever was broken off
        goTo(m_Before);
        const std::string rest = rowDifference(m_Board.tables(), m_Before);
        if (!rest.empty())
            OSL_RAISE(RoutingError, fmt::format("the board still has {}", rest.substr(0, rest.find('\n'))));
    } catch (const Error& error) {
        OSL_RAISE(RoutingError,
                  fmt::format("{}; rows of the scan are left, and the next scan or change takes them away",
                              CppUtil::withoutPlace(error.what())));
    }
}

void ListeningPost::goTo(const Tables& target)
{
    const Plan plan = planCopies(m_Now, target);
    execute(plan, m_Board.pid, m_Board.io, &settle);
    m_Now = plan.result;
}

} // namespace Osl::ZebRoute
