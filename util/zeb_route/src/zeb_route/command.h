#pragma once

#include <osl/cpputils/error.h>
#include <osl/linutils/stream_buffers.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <ostream>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace Osl::ZebRoute {

/// A command line that asks for nothing sensible.
struct UsageError : Error
{
    using Error::Error;
};

/// Writes a line to standard error, behind the name of the program, as far as that can be written.
void report(std::string_view line);

/// What the program ends with.
enum Status : int { DONE = 0, SOMETHING_TO_SAY = 1, FAILED = 2 };

/// All options and words that a command can have; each declares some of them.
struct Settings
{
    std::vector<std::string> words;
    std::string to;
    std::string backup;
    std::string file;
    uint32_t intervalMs = 1000;
    uint32_t timeMs = 1000;
    uint32_t waitSeconds = 10;
    uint32_t confirmSeconds = 0; ///< 0: do not ask
    bool json = false;
    bool rows = false;
    bool prometheus = false;
    bool dryRun = false;
};

/// What is around a command that runs.
class Surroundings
{
public:
    explicit Surroundings(const std::atomic<bool>& stop) : m_Stop(stop) {}

    /// Writes to standard output; what cannot be written is told by flush().
    void print(std::string_view text) { m_Out << text; }
    /// Raises IOError when not all of the output could be written.
    void flush();
    /// From now on nobody is there to read: what cannot be written does not matter.
    void dropOutput() { m_IsDropped = true; }
    /// True once the user has asked to stop.
    bool stopRequested() const { return m_Stop; }

private:
    static constexpr std::size_t OUTPUT_BYTES = 16 << 10;

    const std::atomic<bool>& m_Stop;
    LinuxCppUtil::OutputBuffer m_Buffer{1, OUTPUT_BYTES}; // standard output
    std::ostream m_Out{&m_Buffer};
    bool m_IsDropped = false;
};

/// One option or group of words of a command.
struct Argument
{
    enum class Kind { FLAG, WORD, WORDS, NUMBER };
    /// What a completion offers for it.
    enum class Offer { NOTHING, FILES, SOURCES, PACKETS, INPUTS, OUTPUTS, STATEMENTS };

    const char* name = "";  ///< "--json", or that of a group of words, "SOURCE"
    const char* value = ""; ///< what stands for its value in help texts; "" for a flag
    Kind kind = Kind::FLAG;
    const char* help = "";
    Offer offer = Offer::NOTHING;
    // Where the value is put; the one that the kind says.
    bool Settings::*flag = nullptr;
    std::string Settings::*word = nullptr;
    std::vector<std::string> Settings::*words = nullptr;
    uint32_t Settings::*number = nullptr;
    // Of words: how many; of a number: its range.
    uint32_t least = 0;
    uint32_t most = 0;
    const char* excludes = nullptr; ///< the option that cannot be given with it

    bool isPositional() const { return name[0] != '-'; }
};

/// The same for every command that has it.
inline constexpr Argument JSON_OPTION{.name = "--json",
                                      .value = "",
                                      .kind = Argument::Kind::FLAG,
                                      .help = "Print one JSON document",
                                      .flag = &Settings::json};

/// The same for every command that writes.
inline constexpr Argument BACKUP_OPTION{.name = "--backup",
                                        .value = "FILE",
                                        .kind = Argument::Kind::WORD,
                                        .help = "First save the present tables there, as an image without the filters",
                                        .offer = Argument::Offer::FILES,
                                        .word = &Settings::backup};
inline constexpr Argument WAIT_OPTION{.name = "--wait",
                                      .value = "SECONDS",
                                      .kind = Argument::Kind::NUMBER,
                                      .help = "Wait so long for another command that changes the tables",
                                      .number = &Settings::waitSeconds,
                                      .least = 0,
                                      .most = 86'400};
/// For who listens to a board. A table that comes every 30 s needs as much.
inline constexpr Argument TIME_OPTION{.name = "--time",
                                      .value = "MS",
                                      .kind = Argument::Kind::NUMBER,
                                      .help = "Listen to each PID of a stream for so many milliseconds",
                                      .number = &Settings::timeMs,
                                      .least = 100,
                                      .most = 3'600'000};

/// A command as help, manual page and completion show it, and its work.
struct Command
{
    const char* name;
    const char* summary; ///< one line
    const char* details; ///< what else the user has to know
    std::span<const Argument> arguments;
    /// Raises what goes wrong; otherwise answers the exit status.
    int (*run)(const Settings& settings, Surroundings& around);
};

/// In the order of the help text.
std::span<const Command> commands();

} // namespace Osl::ZebRoute
