#include "zeb_fpga_shell/cli/scm_cmds.h"

#include "zeb_fpga_shell/shell_error.h"

#include <osl/cpputils/stringutils.h>
#include <osl/linutils/attribute_file.h>
#include <osl/linutils/terminal_mode.h>
#include <osl/userspace_drivers/drivers/zeb/scm/scmdriver.h>
#include <osl/userspace_drivers/drivers/zeb/zeb_attributes.h>

#include <fmt/format.h>

#include <array>
#include <iostream>
#include <optional>
#include <unistd.h>

namespace Osl::Utils {
namespace {

using namespace Drivers::Zeb;

constexpr std::array READ_OPTIONS{
    OptionDecl{"o,offset", OptionKind::NUMBER, "Start offset of the read-out in the scrambler PID LUT.", "0"},
    OptionDecl{"c,count", OptionKind::NUMBER, "Number of entries to read-out", "512"},
    OptionDecl{"i,inactive", OptionKind::FLAG,
               "Reads out the inactive scrambler PID LUT. Default the active will be read out."},
    OptionDecl{"s,show_all", OptionKind::FLAG, "If set, the command will readout all entries, including the empty."},
};

constexpr std::array WRITE_OPTIONS{
    OptionDecl{"k,keyidx", OptionKind::NUMBER, "Keyindex of the PID LUT entry (0-63)."},
    OptionDecl{"p,pid", OptionKind::NUMBER, "PID value of the PID LUT entry (0-8190).", "8191"},
    OptionDecl{"s,scmidx", OptionKind::NUMBER, "SCMIDX of the PID LUT entry (0-7)."},
    OptionDecl{"c,clear", OptionKind::FLAG, "Clear the entry given by SCMIDX and PID."},
};

struct KeyOption
{
    const char* longName = nullptr;
    const char* what = nullptr; ///< as the prompt asks for it
    OptionDecl declaration;
    ScmKeySlot slot;
};

constexpr std::array KEY_OPTIONS{
    KeyOption{"even_key",
              "Even key",
              {"e,even_key", OptionKind::TEXT, "Even common scrambling key. E.g: 0F1E2D3C4B5A69788796A5B4C3D2E1F0"},
              SCM_KEY_EVEN},
    KeyOption{"even_iv",
              "Even initialization vector",
              {"E,even_iv", OptionKind::TEXT, "Even common scrambling initialization vector."},
              SCM_IV_EVEN},
    KeyOption{"odd_key", "Odd key", {"o,odd_key", OptionKind::TEXT, "Odd common scrambling key."}, SCM_KEY_ODD},
    KeyOption{"odd_iv",
              "Odd initialization vector",
              {"O,odd_iv", OptionKind::TEXT, "Odd common scrambling initialization vector."},
              SCM_IV_ODD},
};

/// Reads lines that stand for keys. At a terminal it asks for them, and what is typed is not shown.
class KeyInput
{
public:
    explicit KeyInput(std::istream& in) : m_In(in), m_Prompts(&in == &std::cin && ::isatty(STDIN_FILENO) == 1) {}

    std::string ask(const char* what)
    {
        using LinuxCppUtil::TerminalMode;
        if (m_Prompts) {
            if (!m_Quiet)
                m_Quiet.emplace(ECHO, TerminalMode::AtEnd::AS_BEFORE);
            std::cerr << what << ", 32 hexadecimal digits (not shown): " << std::flush;
        }
        std::string line;
        try {
            std::getline(m_In, line);
        } catch (const CppUtil::IOError& error) {
            endLine();
            OSL_RAISE(ShellError, fmt::format("No key was written. {}", error.what()));
        }
        endLine();
        return line;
    }

private:
    /// The terminal did not show the one that was typed.
    void endLine() const
    {
        if (m_Prompts)
            std::cerr << std::endl;
    }

    std::istream& m_In;
    bool m_Prompts;
    std::optional<LinuxCppUtil::TerminalMode> m_Quiet;
};

/// The key of an option's value. One that came from the input stream is not shown when it is refused.
ScmKey keyOf(const KeyOption& option, const std::string& value, KeyInput& input)
{
    const std::optional<ScmKey> key = parseScmKey(value == "-" ? input.ask(option.what) : value);
    if (!key)
        OSL_RAISE(ShellError, fmt::format("Cannot convert {} into valid 128 bit key/IV", value));
    return *key;
}

} // namespace

ScmCmd::DeviceSettings ScmCmd::getDeviceSettings(const Options&) const
{
    const std::string path = SCM_BARSIZE_ATTRIBUTE;
    std::string text;
    try {
        text = LinuxCppUtil::readAttributeText(path);
    } catch (const CppUtil::FileSystemError&) {
        OSL_RAISE(ShellError, "Could not open " + path);
    }
    const std::optional<uint32_t> size = CppUtil::parseUint32(text);
    if (!size)
        OSL_RAISE(ShellError, fmt::format("{} holds \"{}\", which is not a number of bytes", path, text));
    return {*size, SCM_DEVICE_PATH};
}

void ScmReadPidlut::addOptions(Options& options)
{
    options.add(READ_OPTIONS);
    ScmCmd::addOptions(options);
}

int ScmReadPidlut::doFpgaCommand(Options& options, std::ostream& out, std::istream&)
{
    ScmDriver(getMemIf())
        .print({options["offset"].as<uint32_t>(), options["count"].as<uint32_t>(), options.count("inactive") != 0,
                options.count("show_all") != 0},
               out);
    return 0;
}

void ScmWritePidlut::addOptions(Options& options)
{
    options.add(WRITE_OPTIONS);
    ScmCmd::addOptions(options);
}

int ScmWritePidlut::doFpgaCommand(Options& options, std::ostream&, std::istream&)
{
    const ScmPidLutEntry entry{options["pid"].as<uint32_t>(), options["scmidx"].as<uint32_t>(),
                               options["keyidx"].as<uint32_t>()};
    const LinuxCppUtil::FileLock lock = lockDevice();
    ScmDriver driver(getMemIf());
    if (options.count("clear") != 0)
        driver.remove(entry.scmIdx, entry.pid);
    else
        driver.insert(entry);
    return 0;
}

int ScmClearPidlut::doFpgaCommand(Options&, std::ostream&, std::istream&)
{
    const LinuxCppUtil::FileLock lock = lockDevice();
    ScmDriver(getMemIf()).clear();
    return 0;
}

int ScmReadKeys::doFpgaCommand(Options&, std::ostream& out, std::istream&)
{
    ScmDriver driver(getMemIf());
    for (const ScmKeySlot& slot : SCM_KEY_SLOTS)
        out << slot.name << ": " << toString(driver.readKey(slot)) << '\n';
    return 0;
}

void ScmWriteKeys::addOptions(Options& options)
{
    for (const KeyOption& option : KEY_OPTIONS)
        options.add(option.declaration);
    ScmCmd::addOptions(options);
}

int ScmWriteKeys::doFpgaCommand(Options& options, std::ostream&, std::istream& in)
{
    std::vector<std::pair<ScmKeySlot, ScmKey>> keys;
    KeyInput input(in);
    for (const KeyOption& option : KEY_OPTIONS) {
        if (options.count(option.longName) != 0)
            keys.emplace_back(option.slot, keyOf(option, options[option.longName].as<std::string>(), input));
    }
    if (keys.empty())
        OSL_RAISE(ShellError, "Missing manadatory key and/or IV option");
    const LinuxCppUtil::FileLock lock = lockDevice(); // nobody else has to wait while a user types
    ScmDriver driver(getMemIf());
    for (const auto& [slot, key] : keys)
        driver.writeKey(slot, key);
    return 0;
}

} // namespace Osl::Utils
