#pragma once

#include <functional>
#include <string>
#include <string_view>

/// Ends the process with a report when a precondition that only a programming error can break does not hold.
#define OSL_ASSERT(expression) ::Osl::CppUtil::check(static_cast<bool>(expression), #expression, {}, __FILE__, __LINE__)

namespace Osl::CppUtil {

/// What a failed assertion does; one per process, see assertionHandler().
struct AssertionHandler
{
    bool abortOnFailure = true;
    std::function<void(const std::string&)> reportSink; ///< empty: standard error
    std::function<std::string()> stackTraceProvider;    ///< empty: no trace available
};

/// The process-wide handler. Creation is thread-safe; changing it is not synchronised with reporting.
AssertionHandler& assertionHandler();

/// Reports a failed assertion, then aborts unless the handler says otherwise.
void reportFailure(std::string_view expressionText, std::string_view message, const char* file, int line);

/// reportFailure() when `condition` does not hold.
inline void check(bool condition, std::string_view expressionText, std::string_view message, const char* file, int line)
{
    if (!condition)
        reportFailure(expressionText, message, file, line);
}

} // namespace Osl::CppUtil
