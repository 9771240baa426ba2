#include "zeb_route/program.h"

#include "zeb_route/command_line.h"
#include "zeb_route/sources.h"

#include <osl/cpputils/error.h>
#include <osl/cpputils/error_text.h>
#include <osl/linutils/program_start.h>

#include <fmt/format.h>

#include <cstdio>
#include <exception>

namespace Osl::ZebRoute {
namespace {

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

void report(std::string_view line) { std::fputs(fmt::format("zeb_route: {}\n", line).c_str(), stderr); }

void Surroundings::flush()
{
    if (!m_Out.flush() && !m_IsDropped)
        OSL_RAISE(CppUtil::IOError, "Could not write all of the output" + LinuxCppUtil::failureReason(m_Out));
}

int runProgram(int argc, char** argv)
{
    Surroundings around(LinuxCppUtil::startProgram());
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
        report(CppUtil::withoutPlace(error.what()));
    }
    return FAILED;
}

} // namespace Osl::ZebRoute
