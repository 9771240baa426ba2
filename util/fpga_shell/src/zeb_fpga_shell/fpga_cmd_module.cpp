#include "zeb_fpga_shell/fpga_cmd_module.h"

#include "zeb_fpga_shell/mem_dump.h"
#include "zeb_fpga_shell/shell_error.h"
#include "zeb_fpga_shell/word_access.h"

#include <osl/cpputils/stringutils.h>

#include <fmt/format.h>

#include <algorithm>
#include <limits>
#include <utility>

namespace Osl::Utils {
namespace {

using Drivers::IMemIf;

/// Why a command was not carried out, as one line for the user.
class Refusal : public ShellError
{
public:
    enum class Usage { SHOWN, LEFT_OUT };

    Refusal(const std::string& reason, const char* file, int line, Usage usage)
        : ShellError(reason, file, line),
          m_Reason(reason),
          m_Usage(usage)
    {
    }

    const std::string& reason() const { return m_Reason; }
    bool showsUsage() const { return m_Usage == Usage::SHOWN; }

private:
    std::string m_Reason;
    Usage m_Usage;
};

using Usage = Refusal::Usage;

/// A width of access and the operations of that width.
struct Width
{
    uint32_t bits;
    void (*dump)(std::ostream& out, IMemIf& memory, uint32_t offset, uint32_t count);
    void (*write)(IMemIf& memory, uint32_t offset, uint32_t value);
    void (*fill)(IMemIf& memory, uint32_t count);

    uint32_t bytes() const { return bits / 8; }
    uint32_t max() const { return UINT32_MAX >> (32 - bits); }
};

/// Alternating bits plus the word's offset, so that a word found in the wrong place is noticed.
template <class Word>
std::vector<Word> pattern(uint32_t count)
{
    std::vector<Word> words(count);
    std::generate(words.begin(), words.end(),
                  [value = uint32_t{0xAAAAAAAA}]() mutable { return static_cast<Word>(value++); });
    return words;
}

template <class Word>
constexpr Width widthOf()
{
    using Access = WordAccess<Word>;
    return {.bits = std::numeric_limits<Word>::digits,
            .dump = [](std::ostream& out, IMemIf& memory, uint32_t offset,
                       uint32_t count) { dumpWords(out, offset, (memory.*Access::READ_BLOCK)(offset, count)); },
            .write = [](IMemIf& memory, uint32_t offset, uint32_t value) { (memory.*Access::WRITE)(offset, value); },
            .fill = [](IMemIf& memory, uint32_t count) { (memory.*Access::WRITE_BLOCK)(0, pattern<Word>(count)); }};
}

constexpr std::array WIDTHS{widthOf<uint8_t>(), widthOf<uint16_t>(), widthOf<uint32_t>()};
constexpr const Width& DEFAULT_WIDTH = WIDTHS.back();

/// The width whose number of bits, followed by `unit`, is `text`; null when there is none.
const Width* findWidth(const std::string& text, const char* unit)
{
    const auto* const found = std::find_if(WIDTHS.begin(), WIDTHS.end(), [&](const Width& width) {
        return text == fmt::format("{}{}", width.bits, unit);
    });
    return found == WIDTHS.end() ? nullptr : found;
}

const Width& widthOrDefault(const std::string& text, std::ostream& out)
{
    if (const Width* const width = findWidth(text, "bit"))
        return *width;
    out << "Invalid access data witdh: " << text << ". Width defaults to 32bit\n";
    return DEFAULT_WIDTH;
}

const Width& widthOfAll(const std::string& text)
{
    if (const Width* const width = findWidth(text, ""))
        return *width;
    OSL_RAISE(Refusal, fmt::format("Invalid width: \"{}\" is not one of 8, 16 and 32", text), Usage::SHOWN);
}

uint32_t number(const char* what, const std::string& text)
{
    if (const auto value = CppUtil::parseUint32(text))
        return *value;
    OSL_RAISE(
        Refusal,
        fmt::format("Invalid {}: \"{}\" is not a decimal or \"0x\" hexadecimal number of up to 32 bits", what, text),
        Usage::SHOWN);
}

} // namespace

const std::array<FpgaCmdModule::Command, 6> FpgaCmdModule::COMMANDS{{
    {"open", "open <pidlut mmap size | iplut mmap size>",
     "Command for opening one of the ZEB FPGA devices (zebtsif) in /dev.", 1, 2, &FpgaCmdModule::open},
    {"close", "close <pidlut | iplut>",
     "Command for closing an open instance of the ZEB FPGA devices (zebtsif) in /dev.", 1, 1, &FpgaCmdModule::close},
    {"read", "read <dev> <offset> <word count> <width>. Offset can be prefixed with \"0x\" for hexadecimal",
     "Reads n words of given width from given offset.", 3, 4, &FpgaCmdModule::read},
    {"write", "write <dev> <offset> <width> <Data>. Data and offset can be prefixed with \"0x\" for hexadecimal",
     "Writes n words of given width from given offset", 4, 4, &FpgaCmdModule::write},
    {"readall", "readall <8|16|32>", "Reads all data from all devices", 1, 1, &FpgaCmdModule::readAll},
    {"writeall", "writeall <8|16|32> <WORD COUNT>", "Writes the given data pattern to all memory of all devices", 2, 2,
     &FpgaCmdModule::writeAll},
}};

FpgaCmdModule::FpgaCmdModule()
    : FpgaCmdModule({{"pidlut", Drivers::Zeb::PIDLUT_DEVICE}, {"iplut", Drivers::Zeb::IPLUT_DEVICE}})
{
}

FpgaCmdModule::FpgaCmdModule(std::vector<DesignatedDevice> devices) : ShellCmdModule("ZEB FPGA command module")
{
    for (DesignatedDevice& device : devices)
        m_Devices.push_back({std::move(device), nullptr});
    for (const Command& command : COMMANDS)
        addCommand(command.name, command.usage, command.description,
                   [this, &command](const ParsedShellCmd& cmd, std::istream&, std::ostream& out) {
                       run(command, cmd, out);
                       return true;
                   });
}

void FpgaCmdModule::run(const Command& command, const ParsedShellCmd& cmd, std::ostream& out)
{
    try {
        const Arguments arguments(cmd.getArguments().begin(), cmd.getArguments().end());
        if (arguments.size() < command.minArguments)
            OSL_RAISE(Refusal,
                      fmt::format("Missing argument: {} given, {} needed", arguments.size(), command.minArguments),
                      Usage::SHOWN);
        if (arguments.size() > command.maxArguments)
            OSL_RAISE(Refusal,
                      fmt::format("Too many arguments: {} given, {} allowed", arguments.size(), command.maxArguments),
                      Usage::SHOWN);
        (this->*command.handler)(arguments, out);
    } catch (const Refusal& refusal) {
        out << refusal.reason() << '\n';
        if (refusal.showsUsage())
            out << command.usage << '\n';
    }
}

void FpgaCmdModule::open(const Arguments& arguments, std::ostream& out)
{
    Device& device = deviceOf(arguments[0]);
    const auto& [path, ownSize] = device.decl.device;
    const uint32_t size = arguments.size() > 1 ? number("size", arguments[1]) : ownSize;
    if (size == 0)
        OSL_RAISE(Refusal, "Invalid size: it must be at least one byte", Usage::SHOWN);

    device.memory.reset();
    device.memory = std::make_unique<Pci::PciIf>(path, size, 0);
    out << fmt::format("Opened {} ({}), {} bytes mapped\n", device.decl.designation, path, size);
}

void FpgaCmdModule::close(const Arguments& arguments, std::ostream& out)
{
    Device& device = openDeviceOf(arguments[0]);
    device.memory.reset();
    out << fmt::format("Closed {}\n", device.decl.designation);
}

void FpgaCmdModule::read(const Arguments& arguments, std::ostream& out)
{
    const Device& device = openDeviceOf(arguments[0]);
    const uint32_t offset = number("offset", arguments[1]);
    const uint32_t count = number("word count", arguments[2]);
    const Width& width = arguments.size() > 3 ? widthOrDefault(arguments[3], out) : DEFAULT_WIDTH;
    width.dump(out, *device.memory, offset, count);
}

void FpgaCmdModule::write(const Arguments& arguments, std::ostream& out)
{
    const Device& device = openDeviceOf(arguments[0]);
    const uint32_t offset = number("offset", arguments[1]);
    const uint32_t data = number("data", arguments[3]);
    const Width& width = widthOrDefault(arguments[2], out);
    if (data > width.max())
        OSL_RAISE(Refusal,
                  fmt::format("write cannot write data. {0} (0x{0:x}) is not a {1} bit value", data, width.bits),
                  Usage::SHOWN);
    width.write(*device.memory, offset, data);
    out << fmt::format("Wrote 0x{:0{}x} to {} at {} bit word offset 0x{:08x}\n", data, 2 * width.bytes(),
                       device.decl.designation, width.bits, offset);
}

void FpgaCmdModule::readAll(const Arguments& arguments, std::ostream& out)
{
    const Width& width = widthOfAll(arguments[0]);
    for (const Device* const device : openDevices()) {
        out << fmt::format("{} ({}):\n", device->decl.designation, device->decl.device.path);
        width.dump(out, *device->memory, 0, device->memory->mappedSize() / width.bytes());
    }
}

void FpgaCmdModule::writeAll(const Arguments& arguments, std::ostream& out)
{
    const Width& width = widthOfAll(arguments[0]);
    const uint32_t count = number("word count", arguments[1]);
    const std::vector<Device*> devices = openDevices();
    for (const Device* const device : devices) {
        const uint32_t available = device->memory->mappedSize() / width.bytes();
        if (count > available)
            OSL_RAISE(Refusal,
                      fmt::format("Invalid word count: {} has {} words of {} bits, not {}; nothing was written",
                                  device->decl.designation, available, width.bits, count),
                      Usage::SHOWN);
    }
    for (const Device* const device : devices) {
        width.fill(*device->memory, count);
        out << fmt::format("Wrote {} words of {} bits to {}\n", count, width.bits, device->decl.designation);
    }
}

FpgaCmdModule::Device& FpgaCmdModule::deviceOf(const std::string& designation)
{
    const auto device = std::find_if(m_Devices.begin(), m_Devices.end(), [&designation](const Device& candidate) {
        return candidate.decl.designation == designation;
    });
    if (device == m_Devices.end())
        OSL_RAISE(Refusal, "Invalid dev designation: " + designation, Usage::SHOWN);
    return *device;
}

FpgaCmdModule::Device& FpgaCmdModule::openDeviceOf(const std::string& designation)
{
    Device& device = deviceOf(designation);
    if (!device.memory)
        OSL_RAISE(Refusal, fmt::format("Device {0} is not open; type: open {0}", designation), Usage::LEFT_OUT);
    return device;
}

std::vector<FpgaCmdModule::Device*> FpgaCmdModule::openDevices()
{
    std::vector<Device*> devices;
    for (Device& device : m_Devices) {
        if (device.memory)
            devices.push_back(&device);
    }
    if (devices.empty())
        OSL_RAISE(Refusal, "No device is open", Usage::LEFT_OUT);
    return devices;
}

} // namespace Osl::Utils
