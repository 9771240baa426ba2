#include "zeb_route/live_change.h"

#include "zeb_route/board.h"
#include "zeb_route/board_lock.h"
#include "zeb_route/confirmation.h"
#include "zeb_route/endurance.h"

#include <osl/cpputils/error_text.h>
#include <osl/linutils/program_start.h>
#include <osl/linutils/whole_file.h>
#include <osl/zeb_routing/listening.h>
#include <osl/zeb_routing/plan.h>
#include <osl/zeb_routing/text.h>
#include <osl/zeb_routing/translation.h>

#include <fmt/format.h>

#include <chrono>
#include <csignal>
#include <optional>

namespace Osl::ZebRoute {
namespace {

using namespace ZebRouting;
using Clock = std::chrono::steady_clock;

std::string countText(std::size_t count, const char* noun)
{
    return fmt::format("{} {}{}", count, noun, count == 1 ? "" : "s");
}

/// Carries the plan out, and reads the board again to see that it says what is wanted.
void carryOut(const Plan& plan, const Routing& wanted, Board& board)
{
    execute(plan, board.pid, board.io, &settle);
    const std::string rest = toText(difference(board.read().routing, wanted));
    if (!rest.empty())
        OSL_RAISE(RoutingError,
                  fmt::format("all was written, but the board does not say so: {}", rest.substr(0, rest.find('\n'))));
}

/// "5 rows written, 1 table switched, 3 ms"
std::string summary(const Plan& plan, Clock::time_point begin)
{
    const auto ms = std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - begin);
    return fmt::format("{} written, {} switched, {} ms", countText(plan.rowsWritten(), "row"),
                       countText(plan.switches(), "table"), ms.count());
}

void printSteps(const Plan& plan, Surroundings& around)
{
    for (const std::string& note : plan.notes)
        around.print(fmt::format("# note: {}\n", note));
    for (const Step& step : plan.steps)
        around.print(fmt::format("# {}\n", step.text));
    around.print(fmt::format("# {} to be written, {} to be switched\n", countText(plan.rowsWritten(), "row"),
                             countText(plan.switches(), "table")));
}

/// Tells what was changed, and asks. A question that cannot be asked has no "yes".
bool isConfirmed(Confirmation& confirmation, const Settings& settings, Surroundings& around)
{
    try {
        around.flush();
    } catch (const CppUtil::IOError&) {
        around.dropOutput();
        return false;
    }
    return confirmation.isGiven(std::chrono::seconds(settings.confirmSeconds), around);
}

int takeBack(const Routing& before, Board& board)
{
    const Clock::time_point begin = Clock::now();
    const Plan plan = planChange(board.read().tables, before);
    carryOut(plan, before, board);
    report(fmt::format("not confirmed; the board routes as before again: {}", summary(plan, begin)));
    return SOMETHING_TO_SAY;
}

} // namespace

int changeBoard(const Change& change, const Settings& settings, Surroundings& around)
{
    const Clock::time_point begin = Clock::now();
    // What is begun is finished: these are heeded before the first write, and by the question.
    for (const int signal : {SIGHUP, SIGTERM})
        LinuxCppUtil::stopOnSignal(signal);
    std::optional<Confirmation> confirmation;
    if (settings.confirmSeconds != 0)
        confirmation.emplace();
    Board board;
    std::optional<BoardLock> lock;
    if (!settings.dryRun || change.listens)
        lock.emplace(board, settings, around);
    Tables present = board.tables();
    const Source before = Source::of(withoutCopies(present));
    const bool hasLeftRows = !(present == before.tables);
    const auto backUp = [&] {
        if (!settings.backup.empty() && !settings.dryRun)
            LinuxCppUtil::writeWholeFile(settings.backup, before.tables.toImage());
    };
    if (change.listens) {
        endure();
        backUp();
    }
    std::vector<std::string> notes;
    Routing routing = change.wanted(board, before, notes);
    if (change.listens)
        present = board.tables();
    if (hasLeftRows && !routing.hasFilters) {
        routing.filters = before.routing.filters;
        routing.hasFilters = true;
    }
    if (hasLeftRows)
        notes.emplace_back("rows that a scan had left go as well");
    Plan plan = planChange(present, routing);
    plan.notes.insert(plan.notes.begin(), notes.begin(), notes.end());
    const std::string changes = toText(difference(before.routing, routing));
    if (settings.dryRun) {
        around.print(changes);
        printSteps(plan, around);
        return DONE;
    }
    if (!change.listens)
        backUp();
    if (around.stopRequested())
        OSL_RAISE(RoutingError, "stopped before anything was written");
    if (plan.steps.empty()) {
        around.print("# nothing to change\n");
        return DONE;
    }
    try {
        carryOut(plan, routing, board);
    } catch (const PlanError& error) {
        OSL_RAISE(RoutingError, fmt::format("{}; {}", CppUtil::withoutPlace(error.what()), change.howToComplete));
    }
    around.print(changes);
    for (const std::string& note : plan.notes)
        around.print(fmt::format("# note: {}\n", note));
    around.print(fmt::format("# {}\n", summary(plan, begin)));
    if (confirmation && !isConfirmed(*confirmation, settings, around))
        return takeBack(before.routing, board);
    return DONE;
}

} // namespace Osl::ZebRoute
