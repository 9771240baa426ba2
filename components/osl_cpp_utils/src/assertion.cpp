#include <osl/cpputils/assertion.h>

#include <fmt/format.h>

#include <cstdlib>
#include <iostream>

namespace Osl::CppUtil {

AssertionHandler& assertionHandler()
{
    static AssertionHandler handler;
    return handler;
}

void reportFailure(std::string_view expressionText, std::string_view message, const char* file, int line)
{
    const AssertionHandler& handler = assertionHandler();

    std::string report = fmt::format("Assertion failed: [{}] \nat:{}:{}\n", expressionText, file, line);
    if (!message.empty())
        report += fmt::format("{}\n", message);
    if (handler.abortOnFailure)
        report += "Aborting process!";
    const std::string trace =
        handler.stackTraceProvider ? "Stacktrace:\n" + handler.stackTraceProvider() : "Stacktrace: Not available";

    if (handler.reportSink) {
        handler.reportSink(report);
        handler.reportSink(trace);
    } else {
        std::cerr << report << std::endl << trace << std::endl;
    }
    if (handler.abortOnFailure)
        std::abort();
}

} // namespace Osl::CppUtil
