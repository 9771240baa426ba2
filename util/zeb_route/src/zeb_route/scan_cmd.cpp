#include "zeb_route/scan_cmd.h"

#include "zeb_route/live_scan.h"
#include "zeb_route/sources.h"

#include <osl/cpputils/stringutils.h>
#include <osl/ts_basics/ll_tspackets.h>
#include <osl/ts_streaming/inputs/file_reader.h>
#include <osl/ts_streaming/inputs/format_probe.h>
#include <osl/ts_tables/stream_listener.h>

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <memory>

namespace Osl::ZebRoute {
namespace {

/// What is in a file, or in what comes until the user has enough.
Ts::Contents scanFile(const std::string& name, const Surroundings& around)
{
    constexpr std::size_t BUFFER_PACKETS = 1024;
    auto file = std::make_unique<Ts::Streaming::FileReader>(openToRead(name), spokenName(name),
                                                            Ts::Streaming::FileReader::AtEnd::STOP,
                                                            [&around] { return around.stopRequested(); });
    const Ts::Streaming::FileReader& reader = *file;
    Ts::Streaming::FormatProbe packets(std::move(file));
    Ts::StreamListener listener(Ts::Hearing::EVERYTHING);
    std::vector<uint8_t> buffer(BUFFER_PACKETS * Ts::TS_SIZE);
    try {
        while (!around.stopRequested()) {
            const std::span<const uint8_t> filled = packets.read(buffer);
            for (std::size_t at = 0; at < filled.size(); at += Ts::TS_SIZE)
                listener.push(&filled[at]);
        }
    } catch (const Ts::Streaming::ReadException& end) {
        if (end.reason() != static_cast<uint32_t>(Ts::Streaming::ReadReason::END_OF_DATA))
            throw;
    }
    if (reader.failed())
        OSL_RAISE(CppUtil::IOError, reader.failure());
    return listener.contents();
}

uint8_t tsiOf(const std::string& word)
{
    const auto tsi = CppUtil::parseUint32(word);
    if (!tsi || *tsi > 255)
        OSL_RAISE(UsageError, fmt::format("TSI: {} is not in 0..255", word));
    return static_cast<uint8_t>(*tsi);
}

int scan(const Settings& settings, Surroundings& around)
{
    if (settings.file.empty() == settings.words.empty())
        OSL_RAISE(UsageError, "scan needs a TSI, or --file FILE; see `zeb_route scan --help`");
    const Ts::Contents contents = settings.words.empty() ? scanFile(settings.file, around)
                                                         : scanInput(tsiOf(settings.words.front()), settings, around);
    around.print(settings.json ? toJson(contents) : toText(contents));
    const bool onlyNotes =
        std::all_of(contents.faults.begin(), contents.faults.end(), [](const Ts::Fault& fault) { return fault.note; });
    return onlyNotes ? DONE : SOMETHING_TO_SAY;
}

constexpr std::array SCAN_ARGUMENTS{
    Argument{.name = "TSI",
             .value = "",
             .kind = Argument::Kind::WORDS,
             .help = "The input of the board to listen to",
             .offer = Argument::Offer::INPUTS,
             .words = &Settings::words,
             .least = 0,
             .most = 1},
    Argument{.name = "--file",
             .value = "FILE",
             .kind = Argument::Kind::WORD,
             .help = "Say what is in this file of 188-byte packets; - is standard input",
             .offer = Argument::Offer::FILES,
             .word = &Settings::file},
    TIME_OPTION,
    BACKUP_OPTION,
    WAIT_OPTION,
    JSON_OPTION};

} // namespace

const Command SCAN{
    .name = "scan",
    .summary = "Say what is in a transport stream: services, PIDs, languages, faults",
    .details = "Names the services with their elementary streams, the other tables, the PIDs of "
               "conditional access and those that no table names, with their rates, and, of an input "
               "of the board, where each PID goes.\nFor some seconds rows that copy packets to the "
               "processor come and go in the PID LUT, with four filters that nobody uses; no packet goes "
               "elsewhere than before, and in the end all is as it was. rdtspackets is refused meanwhile, unless it "
               "captures by the registers.\n"
               "Ctrl-C ends it early; what came until then is printed. Exit status 1: the stream has "
               "faults other than notes.",
    .arguments = SCAN_ARGUMENTS,
    .run = &scan};

} // namespace Osl::ZebRoute
