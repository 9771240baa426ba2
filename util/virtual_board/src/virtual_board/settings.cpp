#include "virtual_board/settings.h"

#include <osl/userspace_drivers/drivers/zeb/ts/port_names.h>

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <string_view>

namespace Osl::VirtualBoard {
namespace {

using CppUtil::InvalidArgumentError;

std::string inputNames()
{
    std::vector<std::string> names;
    for (const auto& [name, index] : Drivers::Zeb::physicalInputs())
        names.push_back(name);
    return fmt::format("{}", fmt::join(names, ", "));
}

FeedSettings readFeed(const std::string& argument, const std::vector<FeedSettings>& before)
{
    const std::size_t separator = argument.find('=');
    const std::string port = argument.substr(0, separator);
    if (separator == std::string::npos || separator + 1 == argument.size())
        OSL_RAISE(InvalidArgumentError, fmt::format("--feed {}: expected PORT=FILE", argument));
    const auto& ports = Drivers::Zeb::physicalInputs();
    const auto found = ports.find(port);
    if (found == ports.end())
        OSL_RAISE(InvalidArgumentError,
                  fmt::format("--feed {}: unknown input \"{}\"; expected one of {}", argument, port, inputNames()));
    if (std::any_of(before.begin(), before.end(),
                    [&](const FeedSettings& feed) { return feed.phyIIdx == found->second; }))
        OSL_RAISE(InvalidArgumentError, fmt::format("--feed {}: {} is fed already", argument, port));
    return {.phyIIdx = found->second, .file = argument.substr(separator + 1)};
}

} // namespace

Settings readArguments(int argc, char** argv)
{
    Settings settings;
    int at = 1;
    for (; at < argc && argv[at][0] == '-'; ++at) {
        const std::string_view option = argv[at];
        if (option == "--net")
            settings.network = Network::PRIVATE;
        else if (option == "--fast")
            settings.pace = Feed::Pace::FAST;
        else if (option == "--feed" && at + 1 < argc)
            settings.feeds.push_back(readFeed(argv[++at], settings.feeds));
        else
            OSL_RAISE(InvalidArgumentError, fmt::format("unknown or incomplete option \"{}\"", option));
    }
    if (at == argc || *argv[at] == 0)
        OSL_RAISE(InvalidArgumentError, "no folder was given");
    settings.folder = argv[at];
    if (at + 1 < argc)
        settings.command = argv + at + 1;
    return settings;
}

} // namespace Osl::VirtualBoard
