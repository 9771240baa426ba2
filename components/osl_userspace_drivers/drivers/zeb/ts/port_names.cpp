#include <osl/userspace_drivers/drivers/zeb/ts/port_names.h>

#include <fmt/format.h>

#include <array>
#include <span>

namespace Osl::Drivers::Zeb {
namespace {

/// Ports `word``first` … `word``last`, at indices from `firstIndex` up.
struct PortRange
{
    const char* word;
    uint32_t first, last, firstIndex;
};

constexpr std::array INPUTS{PortRange{"tuner", 0, 15, 0}, PortRange{"cam", 0, 7, 16}, PortRange{"scm", 0, 0, 24},
                            PortRange{"scm", 7, 7, 31}, PortRange{"tuner", 16, 21, 32}};
constexpr std::array OUTPUTS{PortRange{"modulator", 0, 15, 0}, PortRange{"cam", 0, 7, 16}, PortRange{"scm", 0, 0, 24},
                             PortRange{"scm", 7, 7, 31}};
constexpr std::array PLAYERS{PortRange{"mediaplayer", 0, 3, 0}};

std::string nameOf(const char* word, uint32_t number) { return fmt::format("{}{}", word, number); }

PortNames namesOf(std::span<const PortRange> ranges)
{
    PortNames names;
    for (const PortRange& range : ranges)
        for (uint32_t number = range.first; number <= range.last; ++number)
            names.emplace(nameOf(range.word, number), range.firstIndex + number - range.first);
    return names;
}

} // namespace

const PortNames& physicalInputs()
{
    static const PortNames NAMES = namesOf(INPUTS);
    return NAMES;
}

const PortNames& physicalOutputs()
{
    static const PortNames NAMES = namesOf(OUTPUTS);
    return NAMES;
}

const PortNames& mediaPlayers()
{
    static const PortNames NAMES = namesOf(PLAYERS);
    return NAMES;
}

uint32_t tunerIndex(uint32_t number) { return physicalInputs().at(nameOf("tuner", number)); }
uint32_t camInputIndex(uint32_t number) { return physicalInputs().at(nameOf("cam", number)); }
uint32_t scmInputIndex(uint32_t number) { return physicalInputs().at(nameOf("scm", number)); }
uint32_t modulatorIndex(uint32_t number) { return physicalOutputs().at(nameOf("modulator", number)); }
uint32_t camOutputIndex(uint32_t number) { return physicalOutputs().at(nameOf("cam", number)); }
uint32_t scmOutputIndex(uint32_t number) { return physicalOutputs().at(nameOf("scm", number)); }
uint32_t mediaPlayerIndex(uint32_t number) { return mediaPlayers().at(nameOf("mediaplayer", number)); }

} // namespace Osl::Drivers::Zeb
