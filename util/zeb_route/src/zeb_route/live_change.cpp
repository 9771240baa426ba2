#include "zeb_route/live_change.h"

#include "zeb_route/board.h"
#include "zeb_route/confirmation.h"

#include <osl/cpputils/error_text.h>
#include <osl/linutils/file_lock.h>
#include <osl/linutils/program_start.h>
#include <osl/linutils/whole_file.h>
#include <osl/zeb_routing/plan.h>
#include <osl/zeb_routing/text.h>
#include <osl/zeb_routing/translation.h>

#include <fmt/format.h>

#include <chrono>
#include <csignal>
#include <optional>
#include <thread>

namespace Osl::ZebRoute {
namespace {

using namespace ZebRouting;
using Clock = std::chrono::steady_clock;

/// So long a packet may be on its way through the lists.
constexpr std::chrono::milliseconds SETTLING{1};

std::string countText(std::size_t count, const char* noun)
{
    return fmt::format("{} {}{}", count, noun, count == 1 ? "" : "s");
}

/// Nobody else edits the tables while this lives.
class BoardLock
{
public:
    BoardLock(Board& board, const Settings& settings, const Surroundings& around)
        : m_Patience{std::chrono::seconds(settings.waitSeconds), [&around] { return around.stopRequested(); }},
          m_Pid(board.pid.descriptor(), Drivers::Zeb::PIDLUT_DEVICE.path, m_Patience),
          m_Io(board.io.descriptor(), Drivers::Zeb::IPLUT_DEVICE.path, m_Patience)
    {
    }

private:
    LinuxCppUtil::LockPatience m_Patience;
    // Always in this order, so that no two commands wait for each other.
    LinuxCppUtil::FileLock m_Pid;
    LinuxCppUtil::FileLock m_Io;
};

/// Carries the plan out, and reads the board again to see that it says what is wanted.
void carryOut(const Plan& plan, const Routing& wanted, Board& board)
{
    execute(plan, board.pid, board.io, [] { std::this_thread::sleep_for(SETTLING); });
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

int changeBoard(const Wanted& wanted, const char* howToComplete, const Settings& settings, Surroundings& around)
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
    if (!settings.dryRun)
        lock.emplace(board, settings, around);
    const Source before = board.read();
    const Routing routing = wanted(before.routing);
    const Plan plan = planChange(before.tables, routing);
    const std::string changes = toText(difference(before.routing, routing));
    if (settings.dryRun) {
        around.print(changes);
        printSteps(plan, around);
        return DONE;
    }
    if (!settings.backup.empty())
        LinuxCppUtil::writeWholeFile(settings.backup, before.tables.toImage());
    if (around.stopRequested())
        OSL_RAISE(RoutingError, "stopped before anything was written");
    if (plan.steps.empty()) {
        around.print("# nothing to change\n");
        return DONE;
    }
    try {
        carryOut(plan, routing, board);
    } catch (const PlanError& error) {
        OSL_RAISE(RoutingError, fmt::format("{}; {}", CppUtil::withoutPlace(error.what()), howToComplete));
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
