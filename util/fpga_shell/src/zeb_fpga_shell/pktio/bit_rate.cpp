#include "zeb_fpga_shell/pktio/bit_rate.h"

#include <fmt/format.h>

namespace Osl::Utils {
namespace {

constexpr double KILO = 1e3;
constexpr double MEGA = 1e6;

double bitRate(uint64_t bytes, double seconds) { return seconds > 0 ? static_cast<double>(bytes) * 8 / seconds : 0; }

std::string scaled(double rate)
{
    if (rate >= MEGA)
        return fmt::format("{:.2f} Mbit/s", rate / MEGA);
    if (rate >= KILO)
        return fmt::format("{:.2f} kbit/s", rate / KILO);
    return fmt::format("{:.2f} bit/s", rate);
}

} // namespace

std::string rateText(uint64_t bytes, double seconds) { return scaled(bitRate(bytes, seconds)); }

std::string describeRate(uint64_t bytes, double seconds, RateUnit unit)
{
    const double rate = bitRate(bytes, seconds);
    return fmt::format("{}({} bytes in {:.2f} seconds)",
                       unit == RateUnit::SCALED ? scaled(rate) + " " : fmt::format("{:.2f}", rate), bytes, seconds);
}

} // namespace Osl::Utils
