#include "zeb_route/change_cmds.h"

#include "zeb_route/live_change.h"
#include "zeb_route/service.h"
#include "zeb_route/sources.h"

#include <osl/zeb_routing/patch.h>

#include <fmt/format.h>

#include <array>
#include <string_view>

namespace Osl::ZebRoute {
namespace {

using namespace ZebRouting;

constexpr const char* AGAIN = "the same command completes it";
constexpr const char* WANTED = "`zeb_route apply` with the wanted routing completes it";

int apply(const Settings& settings, Surroundings& around)
{
    const std::string& name = settings.words.front();
    if (name == LIVE)
        OSL_RAISE(UsageError, "the board routes as it does already; a file or - is expected");
    const Routing wanted = readSource(name).routing;
    return changeBoard({[&](Board&, const Source&, std::vector<std::string>&) { return wanted; }, AGAIN}, settings,
                       around);
}

/// `name` is what errors call the patch; empty: nothing.
int applyPatch(Patch& patch, const std::string& name, const char* howToComplete, const Settings& settings,
               Surroundings& around)
{
    const auto wanted = [&](Board&, const Source& before, std::vector<std::string>&) {
        try {
            return patch.applyTo(before.routing);
        } catch (const SourceError& error) {
            if (name.empty())
                throw;
            throw NamedSourceError(name, error, __FILE__, __LINE__);
        }
    };
    return changeBoard({wanted, howToComplete}, settings, around);
}

int patch(const Settings& settings, Surroundings& around)
{
    const std::string name = settings.words.empty() ? STANDARD_INPUT : settings.words.front();
    Patch patch;
    forEachLine(name, [&patch](std::string_view line) {
        patch.addLine(line);
        return patch.takesMore();
    });
    return applyPatch(patch, name, WANTED, settings, around);
}

int add(const Settings& settings, Surroundings& around)
{
    if (isService(settings.words))
        return changeBoard(addService(settings.words, settings, around), settings, around);
    Patch patch;
    patch.add(fmt::format("{}", fmt::join(settings.words, " ")));
    return applyPatch(patch, "", AGAIN, settings, around);
}

int del(const Settings& settings, Surroundings& around)
{
    if (isService(settings.words))
        return changeBoard(delService(settings.words, settings, around), settings, around);
    Patch patch;
    patch.remove(fmt::format("{}", fmt::join(settings.words, " ")));
    return applyPatch(patch, "", WANTED, settings, around);
}

constexpr Argument DRY_RUN{.name = "--dry-run",
                           .value = "",
                           .kind = Argument::Kind::FLAG,
                           .help = "Print what would change, and the steps; write nothing",
                           .flag = &Settings::dryRun};
constexpr Argument CONFIRM{.name = "--confirm",
                           .value = "SECONDS",
                           .kind = Argument::Kind::NUMBER,
                           .help = "Then ask on the terminal; without a yes within so many seconds take it back",
                           .number = &Settings::confirmSeconds,
                           .least = 1,
                           .most = 86'400,
                           .excludes = "--dry-run"};

constexpr Argument STATEMENT{.name = "STATEMENT",
                             .value = "",
                             .kind = Argument::Kind::WORDS,
                             .help = "The words of one statement, or `service TSI:NUMBER` and where it goes",
                             .offer = Argument::Offer::STATEMENTS,
                             .words = &Settings::words,
                             .least = 1,
                             .most = 10'000};

constexpr std::array APPLY_ARGUMENTS{
    Argument{.name = "SOURCE",
             .value = "",
             .kind = Argument::Kind::WORDS,
             .help = "A file with a table image, statements or JSON, or - for standard input",
             .offer = Argument::Offer::FILES,
             .words = &Settings::words,
             .least = 1,
             .most = 1},
    DRY_RUN, BACKUP_OPTION, WAIT_OPTION, CONFIRM};
constexpr std::array PATCH_ARGUMENTS{
    Argument{.name = "FILE",
             .value = "",
             .kind = Argument::Kind::WORDS,
             .help = "Lines as `diff` prints them; standard input without it, or for -",
             .offer = Argument::Offer::FILES,
             .words = &Settings::words,
             .least = 0,
             .most = 1},
    DRY_RUN, BACKUP_OPTION, WAIT_OPTION, CONFIRM};
constexpr std::array STATEMENT_ARGUMENTS{STATEMENT, DRY_RUN, BACKUP_OPTION, WAIT_OPTION, CONFIRM, TIME_OPTION};

constexpr const char* CHANGE_DETAILS =
    "No packet is lost whose route stays the same. Prints what has changed as `diff` does, then a line that begins "
    "with #.\nExit status 1: the change was not confirmed, and was taken back.";
constexpr const char* SERVICE_DETAILS =
    "No packet is lost whose route stays the same. Prints what has changed as `diff` does, then a line that begins "
    "with #.\n`service 9:1001 to 3 4` stands for the routes of the service's PMT, its elementary streams and its PCR. "
    "Which PIDs those are is found out first, on the board itself, as `scan` does it, also with --dry-run. PIDs that "
    "went by the route of the rest of the TSI still go there, too; `del` leaves what another service needs.\n"
    "Exit status 1: the change was not confirmed, and was taken back.";

} // namespace

const Command APPLY{.name = "apply",
                    .summary = "Make the board route exactly as a source says",
                    .details = CHANGE_DETAILS,
                    .arguments = APPLY_ARGUMENTS,
                    .run = &apply};
const Command PATCH{.name = "patch",
                    .summary = "Change the routing by what `diff` prints, all of it or nothing",
                    .details = CHANGE_DETAILS,
                    .arguments = PATCH_ARGUMENTS,
                    .run = &patch};
const Command ADD{.name = "add",
                  .summary = "Add a statement, or a service, to the routing of the board",
                  .details = SERVICE_DETAILS,
                  .arguments = STATEMENT_ARGUMENTS,
                  .run = &add};
const Command DEL{.name = "del",
                  .summary = "Take a statement or a service away; with its first words alone, all that is said of that",
                  .details = SERVICE_DETAILS,
                  .arguments = STATEMENT_ARGUMENTS,
                  .run = &del};

} // namespace Osl::ZebRoute
