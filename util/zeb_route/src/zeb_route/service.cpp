#include "zeb_route/service.h"

#include "zeb_route/live_scan.h"

#include <osl/cpputils/stringutils.h>
#include <osl/zeb_routing/patch.h>
#include <osl/zeb_routing/problems.h>
#include <osl/zeb_routing/text.h>
#include <osl/zeb_routing/translation.h>

#include <fmt/format.h>

#include <algorithm>
#include <optional>
#include <set>
#include <vector>

namespace Osl::ZebRoute {
namespace {

using namespace ZebRouting;

constexpr const char* WORD = "service";
using Pids = std::set<uint16_t>;

/// What the words ask for.
struct ServiceRequest
{
    uint8_t tsi;
    uint16_t number;
    std::vector<Destination> to; ///< empty: not told
};

[[noreturn]] void refuse(std::string_view expected, std::string_view found)
{
    OSL_RAISE(UsageError, fmt::format("expected {}, found \"{}\"", expected, found));
}

std::string wordsFrom(std::span<const std::string> words, std::size_t first)
{
    return fmt::format("{}", fmt::join(words.subspan(first), " "));
}

ServiceRequest readRequest(std::span<const std::string> words)
{
    const std::string key = words.size() > 1 ? words[1] : "";
    const std::size_t colon = key.find(':');
    const auto tsi = CppUtil::parseUint32(key.substr(0, colon));
    const uint32_t number = colon == std::string::npos ? 0 : CppUtil::parseUint32(key.substr(colon + 1)).value_or(0);
    if (!tsi || *tsi > 255 || number == 0 || number > 0xFFFF)
        refuse("a TSI and the number of a service, as 9:1001", key);
    ServiceRequest request{static_cast<uint8_t>(*tsi), static_cast<uint16_t>(number), {}};
    if (words.size() == 2)
        return request;
    const std::string rest = wordsFrom(words, 2);
    for (const Route& route : parseText(fmt::format("route {}:0 {}", request.tsi, rest)).routes) {
        if (route.to.isDrop() || (route.to.isOutput() && route.to.newPid()))
            refuse("TSOs or cpu, since the PIDs of a service go as they are", rest);
        request.to.push_back(route.to);
    }
    return request;
}

const Ts::Service* find(const Ts::Contents& contents, uint16_t number)
{
    const auto found = std::find_if(contents.services.begin(), contents.services.end(),
                                    [&](const Ts::Service& service) { return service.number == number; });
    return found == contents.services.end() ? nullptr : &*found;
}

Pids pidsOf(const Ts::Service& service)
{
    Pids pids{service.pmtPid};
    for (const Ts::ElementaryStream& stream : service.streams)
        pids.insert(stream.pid);
    if (service.pcrPid)
        pids.insert(*service.pcrPid);
    return pids;
}

/// The service as the board's tables describe it. Raises RoutingError when they do not.
const Ts::Service& knownService(const Ts::Contents& contents, const ServiceRequest& request, const Settings& settings,
                                const Surroundings& around)
{
    if (around.stopRequested())
        OSL_RAISE(RoutingError, "stopped; nothing was changed");
    const Ts::Service* const service = find(contents, request.number);
    if (service != nullptr && service->hasPmt)
        return *service;
    const std::string late = fmt::format("within {} ms; --time waits longer", settings.timeMs);
    if (!contents.transportStream)
        OSL_RAISE(RoutingError, fmt::format("no PAT came from TSI {} {}", request.tsi, late));
    if (service != nullptr)
        OSL_RAISE(RoutingError, fmt::format("the PMT of service {}, PID 0x{:04x}, did not come {}", request.number,
                                            service->pmtPid, late));
    std::vector<uint16_t> numbers;
    for (const Ts::Service& other : contents.services)
        numbers.push_back(other.number);
    OSL_RAISE(RoutingError, fmt::format("TSI {} has no service {}; it has {}", request.tsi, request.number,
                                        numbers.empty() ? "none" : fmt::format("{}", fmt::join(numbers, ", "))));
}

std::vector<Destination> destinationsOf(const Routing& routing, const Selector& packets)
{
    std::vector<Destination> to;
    for (const Route& route : routing.routes)
        if (route.packets == packets)
            to.push_back(route.to);
    return to;
}

Routing withService(const Routing& routing, const ServiceRequest& request, const Ts::Service& service,
                    const std::string& to, std::vector<std::string>& notes)
{
    const Selector wholeTsi{request.tsi, Selector::ALL_PIDS};
    Patch patch;
    Routing followers; // PIDs without a route of their own until now
    for (const uint16_t pid : pidsOf(service)) {
        const Selector packets{request.tsi, pid};
        patch.add(fmt::format("route {} {}", toString(packets), to));
        if (destinationsOf(routing, packets).empty())
            for (const Destination destination : destinationsOf(routing, wholeTsi))
                followers.routes.push_back({packets, destination});
    }
    if (!followers.empty()) {
        for (const std::string& line : CppUtil::split(toText(followers), '\n'))
            if (!line.empty())
                patch.add(line);
        notes.push_back(fmt::format("what went by {} still goes there, too", toString(wholeTsi)));
    }
    if (!service.ecms.empty())
        notes.push_back(fmt::format("the conditional access of the service, PID 0x{:04x}, is not among these routes",
                                    service.ecms.front().pid));
    return patch.applyTo(routing);
}

/// Another service with PIDs of its own that go to a destination.
const Ts::Service* otherUser(const Routing& routing, const Ts::Contents& contents, const ServiceRequest& request,
                             const Pids& own, uint16_t pid, Destination to)
{
    const auto goesThere = [&](uint16_t candidate) {
        return !own.contains(candidate) &&
               std::binary_search(routing.routes.begin(), routing.routes.end(), Route{{request.tsi, candidate}, to});
    };
    for (const Ts::Service& other : contents.services) {
        const Pids pids = pidsOf(other);
        if (other.number == request.number || std::none_of(pids.begin(), pids.end(), goesThere))
            continue;
        if (!other.hasPmt)
            OSL_RAISE(RoutingError,
                      fmt::format("service {} is routed as well, but its PMT, PID 0x{:04x}, did not come: what the two "
                                  "share is not known; --time waits longer",
                                  other.number, other.pmtPid));
        if (pids.contains(pid))
            return &other;
    }
    return nullptr;
}

Routing withoutService(const Routing& routing, const ServiceRequest& request, const Ts::Contents& contents,
                       const Ts::Service& service, std::vector<std::string>& notes)
{
    const Pids own = pidsOf(service);
    Routing rest = routing;
    std::erase_if(rest.routes, [&](const Route& route) {
        const auto& [packets, to] = route;
        if (packets.tsi != request.tsi || !own.contains(packets.pid) ||
            (!request.to.empty() && std::find(request.to.begin(), request.to.end(), to) == request.to.end()))
            return false;
        const Ts::Service* const other = otherUser(routing, contents, request, own, packets.pid, to);
        if (other != nullptr)
            notes.push_back(
                fmt::format("{} stays where it goes: service {} needs it there", toString(packets), other->number));
        return other == nullptr;
    });
    if (rest == routing && notes.empty())
        OSL_RAISE(RoutingError, fmt::format("service {} of TSI {} cannot be taken away: none of its PIDs is routed{}",
                                            request.number, request.tsi, request.to.empty() ? "" : " there"));
    return rest;
}

/// The change that `apply` makes of the facts, once the service is known.
template <class Apply>
Change changeOf(const ServiceRequest& request, bool needsAll, const char* howToComplete, const Settings& settings,
                Surroundings& around, const Apply& apply)
{
    const auto isEnough = [=](const Ts::Contents& contents) {
        const Ts::Service* const service = find(contents, request.number);
        return service != nullptr && service->hasPmt &&
               (!needsAll || std::all_of(contents.services.begin(), contents.services.end(),
                                         [](const Ts::Service& other) { return other.hasPmt; }));
    };
    const auto wanted = [=, &settings, &around](Board& board, const Source& before, std::vector<std::string>& notes) {
        const ScanTask task{.tsi = request.tsi,
                            .time = std::chrono::milliseconds(settings.timeMs),
                            .onlyTables = true,
                            .isEnough = isEnough};
        const Ts::Contents contents = scanBoard(board, before.tables, task, around);
        return apply(before.routing, contents, knownService(contents, request, settings, around), notes);
    };
    return {.wanted = wanted, .howToComplete = howToComplete, .listens = true};
}

} // namespace

bool isService(std::span<const std::string> words) { return !words.empty() && words.front() == WORD; }

Change addService(std::span<const std::string> words, const Settings& settings, Surroundings& around)
{
    const ServiceRequest request = readRequest(words);
    if (request.to.empty())
        refuse("to and where the service goes", wordsFrom(words, 2));
    return changeOf(request, false, "the same command completes it", settings, around,
                    [=, to = wordsFrom(words, 2)](const Routing& routing, const Ts::Contents&,
                                                  const Ts::Service& service, std::vector<std::string>& notes) {
                        return withService(routing, request, service, to, notes);
                    });
}

Change delService(std::span<const std::string> words, const Settings& settings, Surroundings& around)
{
    const ServiceRequest request = readRequest(words);
    return changeOf(
        request, true, "`zeb_route apply` with the wanted routing completes it", settings, around,
        [=](const Routing& routing, const Ts::Contents& contents, const Ts::Service& service,
            std::vector<std::string>& notes) { return withoutService(routing, request, contents, service, notes); });
}

} // namespace Osl::ZebRoute
