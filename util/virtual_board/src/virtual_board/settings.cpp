#include "virtual_board/settings.h"

#include <osl/userspace_drivers/drivers/zeb/ts/port_names.h>

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <charconv>
#include <string_view>

namespace Osl::VirtualBoard {
namespace fs = std::filesystem;

namespace {

constexpr std::string_view END_OF_OPTIONS = "--";

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
    return {.phyIIdx = found->second, .port = port, .file = argument.substr(separator + 1)};
}

double readSpeed(std::string_view argument)
{
    constexpr double LEAST = 0.01;
    constexpr double MOST = 10'000;
    double speed = 0;
    const auto [rest, error] = std::from_chars(argument.data(), argument.data() + argument.size(), speed);
    if (error != std::errc() || rest != argument.data() + argument.size() || !(speed >= LEAST && speed <= MOST))
        OSL_RAISE(InvalidArgumentError,
                  fmt::format("--speed {}: expected a number from {} to {}", argument, LEAST, MOST));
    return speed;
}

} // namespace

std::size_t readOptions(std::span<char* const> arguments, Settings& settings)
{
    std::size_t at = 0;
    for (; at < arguments.size() && arguments[at][0] == '-' && arguments[at] != END_OF_OPTIONS; ++at) {
        const std::string_view option = arguments[at];
        if (option == "--net")
            settings.network = std::max(settings.network, Network::PRIVATE);
        else if (option == "--bridge")
            settings.network = Network::BRIDGED;
        else if (option == "--fast")
            settings.pace = Feed::Pace::FAST;
        else if (option == "--log")
            settings.messages = Messages::IN_FILE;
        else if (option == "--speed" && at + 1 < arguments.size())
            settings.speed = readSpeed(arguments[++at]);
        else if (option == "--feed" && at + 1 < arguments.size())
            settings.feeds.push_back(readFeed(arguments[++at], settings.feeds));
        else
            OSL_RAISE(InvalidArgumentError, fmt::format("unknown or incomplete option \"{}\"", option));
    }
    return at;
}

Settings readArguments(int argc, char** argv)
{
    Settings settings;
    const std::span arguments(argv, static_cast<std::size_t>(argc));
    const std::size_t at = 1 + readOptions(arguments.subspan(1), settings);
    if (at == arguments.size() || *arguments[at] == 0)
        OSL_RAISE(InvalidArgumentError, "no folder was given");
    settings.folder = arguments[at];
    if (at + 1 < arguments.size())
        settings.command = &arguments[at + 1];
    return settings;
}

std::vector<std::string> featuresOf(const Settings& settings)
{
    std::vector<std::string> features;
    if (settings.network != Network::NONE)
        features.emplace_back("--net");
    if (settings.network == Network::BRIDGED)
        features.emplace_back("--bridge");
    if (settings.pace == Feed::Pace::FAST)
        features.emplace_back("--fast");
    if (settings.speed != 1)
        features.push_back(fmt::format("--speed {}", settings.speed));
    for (const FeedSettings& feed : settings.feeds)
        features.push_back(fmt::format("--feed {}={}", feed.port, fs::absolute(feed.file).lexically_normal().string()));
    return features;
}

} // namespace Osl::VirtualBoard
