#include <osl/cpputils/error.h>
#include <osl/cpputils/log.h>

#include <spdlog/logger.h>
#include <spdlog/sinks/ostream_sink.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <ctime>
#include <iostream>

namespace Osl::CppUtil {
namespace {

constexpr std::array<std::string_view, 6> LEVEL_NAMES{"trace", "debug", "info", "warning", "error", "critical"};
constexpr const char* PATTERN = "%H:%M:%S.%e %l: %v";

spdlog::level::level_enum spdlogLevel(Log::Level level)
{
    static_assert(spdlog::level::trace == 0 && spdlog::level::critical == LEVEL_NAMES.size() - 1);
    return static_cast<spdlog::level::level_enum>(level);
}

/// Through the stream, not past it: what holds for its waits and failures holds for the log.
std::shared_ptr<spdlog::logger> makeLogger(std::ostream& out)
{
    constexpr bool FLUSH_EACH_LINE = true;
    auto logger = std::make_shared<spdlog::logger>(
        "zeb_fpga_shell", std::make_shared<spdlog::sinks::ostream_sink_st>(out, FLUSH_EACH_LINE));
    logger->set_pattern(PATTERN);
    return logger;
}

/// The C library's time: that of the C++ library ends in January 2038 on a 32-bit board.
spdlog::log_clock::time_point now()
{
    timespec time = {};
    ::clock_gettime(CLOCK_REALTIME, &time);
    return spdlog::log_clock::time_point(std::chrono::duration_cast<spdlog::log_clock::duration>(
        std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec)));
}

} // namespace

std::unique_ptr<Log>& Log::holder()
{
    static std::unique_ptr<Log> log;
    return log;
}

void Log::setUp(Level threshold)
{
    if (!holder())
        holder().reset(new Log(makeLogger(std::cerr)));
    holder()->m_Logger->set_level(spdlogLevel(threshold));
}

Log& Log::instance()
{
    if (!holder()) {
        std::cout << "No logsystem initialized. Falling back to stdout." << std::endl;
        holder().reset(new Log(makeLogger(std::cout)));
    }
    return *holder();
}

Log::Level Log::levelFromName(std::string_view name)
{
    const auto found = std::find(LEVEL_NAMES.begin(), LEVEL_NAMES.end(), name);
    if (found == LEVEL_NAMES.end())
        OSL_RAISE(InvalidArgumentError,
                  fmt::format("unknown log level \"{}\"; expected one of {}", name, fmt::join(LEVEL_NAMES, ", ")));
    return static_cast<Level>(found - LEVEL_NAMES.begin());
}

std::vector<std::string_view> Log::levelNames() { return {LEVEL_NAMES.begin(), LEVEL_NAMES.end()}; }

void Log::write(Level level, const std::string& text) { m_Logger->log(now(), {}, spdlogLevel(level), text); }

} // namespace Osl::CppUtil
