#include "zeb_route/program.h"

#include "zeb_route/command_line.h"
#include "zeb_route/sources.h"

#include <osl/cpputils/error.h>

#include <fmt/format.h>

#include <csignal>
#include <cstdio>
#include <exception>

namespace Osl::ZebRoute {
namespace {

/// Never destroyed, since a signal can come while the program is being left.
std::atomic<bool> g_Stop = false;

void onInterrupt(int) { g_Stop = true; }

void report(std::string_view line) { fmt::print(stderr, "zeb_route: {}\n", line); }

/// The text of an error without the place in the source code, which says nothing to an engineer.
std::string_view withoutPlace(std::string_view text)
{
    const std::size_t at = text.rfind('(');
    return text.ends_with(')') && at != std::string_view::npos && text.find(':', at) != std::string_view::npos
               ? text.substr(0, at)
               : text;
}

int run(int argc, char** argv, Surroundings& around)
{
    const Request request = parseCommandLine(argc, argv);
    if (request.command == nullptr) {
        around.print(request.text);
        return DONE;
    }
    return request.command->run(request.settings, around);
}

} // namespace

void Surroundings::print(std::string_view text) { std::fwrite(text.data(), 1, text.size(), stdout); }

void Surroundings::flush()
{
    if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0)
        OSL_RAISE(CppUtil::IOError, "Could not write all of the output");
}

int runProgram(int argc, char** argv)
{
    std::signal(SIGINT, &onInterrupt);
    Surroundings around(g_Stop);
    try {
        const int status = run(argc, argv, around);
        around.flush();
        return status;
    } catch (const NamedSourceError& error) {
        for (const std::string& line : error.lines())
            report(line);
    } catch (const ZebRouting::SourceError& error) {
        for (const ZebRouting::Problem& problem : error.problems())
            report(problem.text);
    } catch (const std::exception& error) {
        report(withoutPlace(error.what()));
    }
    return FAILED;
}

} // namespace Osl::ZebRoute
