#pragma once

#include <fmt/format.h>

#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace spdlog {
class logger;
}

namespace Osl::CppUtil {

/// The program's log: messages for the operator on standard error, each with time and level. Anything that a script
/// might read never goes through it.
class Log
{
public:
    enum class Level { TRACE, DEBUG, INFO, WARNING, ERROR, CRITICAL };

    /// Sets up the process-wide log with the given threshold; a second call only changes the threshold.
    static void setUp(Level threshold);

    /// The process-wide log. Asked for before setUp(), it says so once on standard output and logs there.
    static Log& instance();

    /// Level of one of the six names "trace" … "critical"; raises InvalidArgumentError, which lists them.
    static Level levelFromName(std::string_view name);
    static std::vector<std::string_view> levelNames();

    void write(Level level, const std::string& text);

    template <class... Args>
    void warning(fmt::format_string<Args...> format, Args&&... args)
    {
        write(Level::WARNING, fmt::format(format, std::forward<Args>(args)...));
    }

private:
    explicit Log(std::shared_ptr<spdlog::logger> logger) : m_Logger(std::move(logger)) {}
    static std::unique_ptr<Log>& holder();

    std::shared_ptr<spdlog::logger> m_Logger;
};

} // namespace Osl::CppUtil
