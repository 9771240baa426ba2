#include "zeb_fpga_shell/cli/spi_cmds.h"

#include "zeb_fpga_shell/cli/spi_target.h"
#include "zeb_fpga_shell/mem_dump.h"
#include "zeb_fpga_shell/word_access.h"

#include <osl/cpputils/log.h>
#include <osl/cpputils/stringutils.h>
#include <osl/userspace_drivers/interfaces/spi/rawport.h>

#include <fmt/format.h>

#include <algorithm>
#include <limits>

namespace Osl::Utils {
namespace {

using Kind = SpiTarget::Kind;

constexpr OptionDecl COUNT_OPTION{"c,count", OptionKind::NUMBER, "Number of words to read. Prefix with \"0x\" for hex.",
                                  "1"};

constexpr std::array WRITE_OPTIONS{
    OptionDecl{
        "v,data", OptionKind::NUMBERS,
        "Data value to write, or several separated by commas, for consecutive words from the offset. Prefix with "
        "\"0x\" for hex. Mandatory."},
    OptionDecl{"r,readback", OptionKind::FLAG,
               "Read-back written data posterior to write operation. For raw: show what came back meanwhile."},
};

constexpr std::array SYNTHESISER_WRITE_OPTIONS{
    OptionDecl{"field", OptionKind::TEXT,
               "max2871: set fields of the data before it is written: NAME=VALUE, or several separated by commas."},
    OptionDecl{"rewrite_r0", OptionKind::NUMBER,
               "max2871: word for register 0, written last, so that double-buffered fields take effect."},
    OptionDecl{"startup", OptionKind::FLAG,
               "max2871: power the part up with the six words of registers 0 to 5. Interrupts its output."},
};

/// Calls `step` with a word of the target's width.
template <class Step>
void forWidth(const SpiTarget& target, const Step& step)
{
    if (target.width == 8)
        step(uint8_t{});
    else if (target.width == 16)
        step(uint16_t{});
    else
        step(uint32_t{});
}

void readAndDump(const SpiTarget& target, Spi::SPISlaveIF& slave, uint32_t count, std::ostream& out)
{
    forWidth(target, [&]<class Word>(Word) {
        const std::vector<Word> words = (slave.*WordAccess<Word>::READ_BLOCK)(target.offset, count);
        if (target.dryRun)
            return;
        dumpWords(out, target.offset, words);
        if (target.kind != Kind::MAX2871 || words.empty())
            return;
        for (const Spi::Max2871::Field& field : Spi::Max2871::FIELDS)
            if (field.word == target.offset)
                out << fmt::format("{}: {}\n", field.name, words.front() >> field.lsb & field.max());
    });
}

void warnOfUnverified(const SpiTarget& target)
{
    if (!target.framing.slave.empty() && !target.framing.verified && !target.force && !target.dryRun)
        CppUtil::Log::instance().warning(
            "{}: {}: how this slave's registers are read has not been verified; the values "
            "may be wrong",
            target.device, target.slave);
}

/// The words to write: the data, with the fields of the synthesiser's registers put in.
std::vector<uint32_t> dataFrom(const SpiTarget& target, const Options& options)
{
    auto data = options["data"].as<std::vector<uint32_t>>();
    const std::string place = fmt::format("write of {} bits at offset {} refused", target.width, target.offset);
    if (data.empty())
        target.fail(place + ": the option \"data\" is missing");
    for (const uint32_t value : data)
        if (uint64_t{value} >> target.width != 0)
            target.fail(fmt::format("{}: {} ({:#x}) is not a {} bit value", place, value, value, target.width));
    if (options.count("field") == 0)
        return data;
    if (data.size() != 1)
        target.fail(place + ": fields go into one word of data");
    for (const std::string& setting : CppUtil::split(options["field"].as<std::string>(), ',')) {
        const auto equals = std::min(setting.find('='), setting.size());
        const auto value = CppUtil::parseUint32(setting.substr(std::min(equals + 1, setting.size())));
        if (!value)
            target.fail(fmt::format("{}: the field \"{}\" is not NAME=VALUE", place, setting));
        data[0] = Spi::Max2871::withField(target.offset, data[0], setting.substr(0, equals), *value);
    }
    return data;
}

void writeWords(const SpiTarget& target, Spi::SPISlaveIF& slave, const std::vector<uint32_t>& data)
{
    forWidth(target, [&]<class Word>(Word) {
        std::vector<Word> words(data.size());
        std::transform(data.begin(), data.end(), words.begin(),
                       [](uint32_t value) { return static_cast<Word>(value); });
        (slave.*WordAccess<Word>::WRITE_BLOCK)(target.offset, words);
    });
}

/// Writes to the synthesiser what only that understands; false when the options ask for nothing of the kind.
bool writeSynthesiser(const SpiTarget& target, const Options& options, Spi::ISpiBus& bus,
                      const std::vector<uint32_t>& data, std::ostream& out)
{
    const bool startUp = options.count("startup") != 0;
    const bool latch = options.count("rewrite_r0") != 0;
    if (!startUp && !latch)
        return false;
    if (startUp && latch)
        target.fail("a start-up ends with register 0 by itself; \"rewrite_r0\" has no place there");
    if (startUp && target.offset != 0)
        target.fail(
            fmt::format("write of {} bits at offset {} refused: a start-up takes the words of registers 0 to 5, "
                        "from offset 0 on",
                        target.width, target.offset));
    if (target.width != 32 || options.count("readback") != 0)
        target.fail("a start-up, or a write with \"rewrite_r0\", is of 32 bits and cannot be read back");
    const auto synthesiser = target.makeSynthesiser(bus, out);
    if (startUp)
        synthesiser->startUp(data);
    else
        synthesiser->writeAndLatch(target.offset, data, options["rewrite_r0"].as<uint32_t>());
    return true;
}

void exchangeRaw(const SpiTarget& target, Spi::ISpiBus& bus, const std::vector<uint32_t>& data, std::ostream& out)
{
    Spi::RawPort port(bus, target.force ? Spi::RawPort::Permission::TRANSFER : Spi::RawPort::Permission::REFUSE);
    std::vector<uint8_t> bytes(data.size());
    std::transform(data.begin(), data.end(), bytes.begin(), [](uint32_t value) { return static_cast<uint8_t>(value); });
    const std::vector<uint8_t> in = port.exchange(target.offset, bytes);
    if (!target.dryRun)
        dumpWords(out, target.offset, in);
}

} // namespace

void SpiReadCmd::addOptions(Options& options)
{
    options.add(SPI_TARGET_OPTIONS);
    options.add(COUNT_OPTION);
    options.add(SPI_READBACK_OPTIONS);
    options.add(SPI_BUS_OPTIONS);
    options.add(SPI_FRAMING_OPTIONS);
    options.add(HELP_OPTION);
}

int SpiReadCmd::doCommand(Options& options, std::ostream& out, std::istream&)
{
    const SpiTarget target = SpiTarget::from(options);
    const auto bus = target.makeBus("read", out);
    const auto slave = target.makeSlave(*bus, out);
    readAndDump(target, *slave, options["count"].as<uint32_t>(), out);
    warnOfUnverified(target);
    return 0;
}

void SpiWriteCmd::addOptions(Options& options)
{
    options.add(SPI_TARGET_OPTIONS);
    options.add(WRITE_OPTIONS);
    options.add(SYNTHESISER_WRITE_OPTIONS);
    options.add(SPI_BUS_OPTIONS);
    options.add(SPI_FRAMING_OPTIONS);
    options.add(HELP_OPTION);
}

int SpiWriteCmd::doCommand(Options& options, std::ostream& out, std::istream&)
{
    const SpiTarget target = SpiTarget::from(options);
    target.allowOnly(Kind::MAX2871, options, SYNTHESISER_WRITE_OPTIONS);
    const std::vector<uint32_t> data = dataFrom(target, options);
    const bool readBack = options.count("readback") != 0;
    const auto count = static_cast<uint32_t>(data.size());

    const auto bus = target.makeBus("write", out);
    if (writeSynthesiser(target, options, *bus, data, out))
        return 0;
    if (target.kind == Kind::RAW && readBack && target.width == 8) {
        exchangeRaw(target, *bus, data, out);
        return 0;
    }
    const auto slave = target.makeSlave(*bus, out);
    if (readBack)
        slave->checkRead(target.offset, count, target.width);
    writeWords(target, *slave, data);
    if (readBack)
        readAndDump(target, *slave, count, out);
    return 0;
}

} // namespace Osl::Utils
