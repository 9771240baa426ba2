#include "zeb_fpga_shell/pktio/capture.h"

#include <osl/ts_basics/ll_tspackets.h>

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <ostream>
#include <span>
#include <string>

namespace Osl::Utils {

using namespace Ts;
using Drivers::Zeb::PktIODriver;

namespace {

/// So many milliseconds a look at the port lasts at most, after which time-out and stop are checked.
constexpr uint64_t LOOK_MS = 20;
constexpr std::size_t TSI_BYTE = 3; ///< of the header as it lies in the record

bool wanted(const std::vector<uint32_t>& chosen, uint32_t value)
{
    return chosen.empty() || std::find(chosen.begin(), chosen.end(), value) != chosen.end();
}

std::string flagsOf(const uint8_t* packet)
{
    std::string flags;
    const auto add = [&](bool set, const char* name) {
        if (set)
            flags += name;
    };
    add(Ll::startsPayloadUnit(packet), " start");
    add(Ll::hasTransportError(packet), " error");
    add(Ll::scramblingControl(packet) != 0, " scrambled");
    add(Ll::hasAdaptationField(packet), " adaptation");
    return flags;
}

} // namespace

Capture::Capture(const CaptureSettings& settings, PktIODriver& port, std::ostream& text, PacketFile* file)
    : m_Settings(settings),
      m_Port(port),
      m_Text(text),
      m_File(file)
{
}

void Capture::show(uint8_t tsi, const uint8_t* packet)
{
    const uint16_t pid = Ll::pid(packet);
    m_Text << fmt::format("{}: TSI {} PID 0x{:04x} ({}) CC {}{}{}\n", m_Taken, tsi, pid, pid,
                          Ll::continuityCounter(packet), flagsOf(packet),
                          Ll::hasPcr(packet) ? fmt::format(" PCR {}", Ll::pcr(packet)) : "");
    constexpr std::size_t BYTES_PER_LINE = 16;
    for (std::size_t at = 0; m_Settings.hex && at < TS_SIZE; at += BYTES_PER_LINE) {
        const uint8_t* const line = packet + at;
        m_Text << fmt::format("    {:02x}: {:02x}\n", at,
                              fmt::join(line, line + std::min(BYTES_PER_LINE, TS_SIZE - at), " "));
    }
}

/// Whether the record was one to keep.
bool Capture::accept(const uint8_t* record, std::chrono::steady_clock::time_point now)
{
    const uint8_t* const packet = record + PktIODriver::HEADER_SIZE;
    const uint8_t tsi = record[TSI_BYTE];
    if (!Ll::hasSync(packet)) {
        ++m_WithoutSync;
        return false;
    }
    if (!wanted(m_Settings.tsis, tsi) || !wanted(m_Settings.pids, Ll::pid(packet)))
        return false;
    ++m_Taken;
    m_Stats.count(tsi, packet, now);
    if (m_File != nullptr)
        m_File->put(
            m_Settings.wholeRecords ? std::span(record, PktIODriver::TOTAL_PKT_SIZE) : std::span(packet, TS_SIZE), now);
    if (m_Settings.lines)
        show(tsi, packet);
    return true;
}

void Capture::run(const std::function<bool()>& stopped, const Timing& timing)
{
    std::array<uint32_t, PktIODriver::TOTAL_PKT_SIZE / sizeof(uint32_t)> record{};
    auto lastTaken = timing.now();
    while (!complete() && !stopped() && m_Text) {
        const bool came = m_Port.readPacket(record.data(), LOOK_MS);
        const auto now = timing.now();
        if (came && accept(reinterpret_cast<const uint8_t*>(record.data()), now))
            lastTaken = now;
        else if (m_Settings.timeout.count() != 0 && now - lastTaken >= m_Settings.timeout)
            break;
        if (m_File != nullptr)
            m_File->writeLate(now);
    }
}

} // namespace Osl::Utils
