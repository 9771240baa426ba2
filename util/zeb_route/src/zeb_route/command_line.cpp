#include "zeb_route/command_line.h"

#include <osl/cpputils/append_format.h>
#include <osl/zeb_routing/nearest.h>

#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>
#include <fmt/format.h>

#include <algorithm>
#include <memory>

namespace Osl::ZebRoute {
namespace {

/// Declares one argument of a command; its value goes into `settings`.
CLI::Option* declare(CLI::App& app, const Argument& argument, Settings& settings)
{
    CLI::Option* option = nullptr;
    switch (argument.kind) {
    case Argument::Kind::FLAG:
        return app.add_flag(argument.name, settings.*argument.flag, argument.help);
    case Argument::Kind::WORD:
        option = app.add_option(argument.name, settings.*argument.word, argument.help);
        break;
    case Argument::Kind::WORDS:
        option = app.add_option(argument.name, settings.*argument.words, argument.help)
                     ->expected(static_cast<int>(argument.least), static_cast<int>(argument.most))
                     ->required(argument.least != 0);
        break;
    case Argument::Kind::NUMBER:
        option = app.add_option(argument.name, settings.*argument.number, argument.help)
                     ->check(CLI::Range(argument.least, argument.most));
        if (settings.*argument.number != 0)
            option->capture_default_str();
        break;
    }
    return option->type_name(argument.value)
        ->multi_option_policy(argument.kind == Argument::Kind::WORDS ? CLI::MultiOptionPolicy::TakeAll
                                                                     : CLI::MultiOptionPolicy::Throw);
}

std::unique_ptr<CLI::App> declare(const Command& command, Settings& settings)
{
    auto app = std::make_unique<CLI::App>(command.summary, fmt::format("zeb_route {}", command.name));
    app->set_help_flag("-h,--help", "Show this help and exit");
    app->footer(command.details);
    for (const Argument& argument : command.arguments) {
        CLI::Option* const option = declare(*app, argument, settings);
        if (argument.excludes != nullptr)
            option->excludes(app->get_option(argument.excludes));
    }
    return app;
}

std::string programHelp()
{
    std::string text =
        "Shows, checks, compares, follows and changes the routing of a transport-stream headend board.\n\n"
        "Usage: zeb_route COMMAND [OPTION]... [WORD]...\n\nCommands:\n";
    for (const Command& command : commands())
        CppUtil::appendFormat(text, "  {:<8} {}\n", command.name, command.summary);
    text += "\nSOURCE is `live` (the board; the default), or a file with a saved table image, statements or JSON; `-` "
            "is\nstandard input. `zeb_route COMMAND --help` explains a command.\n\n"
            "Exit status: 0 done, 1 where a command's help says so, 2 failed.\n";
    return text;
}

const Command& commandNamed(const std::string& name)
{
    const auto all = commands();
    const auto found = std::find_if(all.begin(), all.end(), [&](const Command& row) { return name == row.name; });
    if (found != all.end())
        return *found;
    std::vector<std::string_view> names;
    for (const Command& command : all)
        names.emplace_back(command.name);
    const std::string_view nearest = ZebRouting::nearestWord(name, names);
    OSL_RAISE(UsageError, fmt::format("unknown command \"{}\"{}; `zeb_route --help` lists the commands", name,
                                      nearest.empty() ? "" : fmt::format(", did you mean \"{}\"?", nearest)));
}

} // namespace

Request parseCommandLine(int argc, const char* const* argv)
{
    Request request;
    const std::string first = argc > 1 ? argv[1] : "";
    if (first == "-h" || first == "--help" || first == "help") {
        request.text = programHelp();
        return request;
    }
    if (first == "--version") {
        request.text = "zeb_route " ZEB_ROUTE_VERSION "\n";
        return request;
    }
    if (first.empty())
        OSL_RAISE(UsageError, "a command is expected; `zeb_route --help` lists the commands");
    const Command& command = commandNamed(first);
    const auto app = declare(command, request.settings);
    try {
        app->parse(argc - 1, argv + 1);
    } catch (const CLI::CallForHelp&) {
        request.text = app->help();
        return request;
    } catch (const CLI::Error& error) {
        OSL_RAISE(UsageError, fmt::format("{}; see `zeb_route {} --help`", error.what(), command.name));
    }
    request.command = &command;
    return request;
}

} // namespace Osl::ZebRoute
