#include "zeb_fpga_shell/cli/spi_target.h"

#include "zeb_fpga_shell/cli/spi_dry_run_bus.h"

#include <osl/userspace_drivers/interfaces/spi/rawport.h>
#include <osl/userspace_drivers/interfaces/spi/spidevbus.h>

#include <fmt/format.h>

#include <algorithm>
#include <thread>

namespace Osl::Utils {
namespace {

using Spi::SPIError;
using Way = Spi::Max2871::ReadBack::Way;

/// A word that an option takes.
template <class Value>
struct Choice
{
    std::string_view word;
    Value value;
};

constexpr std::array SLAVES{
    Choice<SpiTarget::Kind>{Spi::FPGA_FRAMING.slave, SpiTarget::Kind::FPGA},
    Choice<SpiTarget::Kind>{Spi::Max2871::NAME, SpiTarget::Kind::MAX2871},
    Choice<SpiTarget::Kind>{Spi::MAX5868_FRAMING.slave, SpiTarget::Kind::MAX5868},
    Choice<SpiTarget::Kind>{Spi::RawPort::NAME, SpiTarget::Kind::RAW},
};
constexpr std::array BYTE_ORDERS{
    Choice<Spi::ByteOrder>{"big", Spi::ByteOrder::BIG},
    Choice<Spi::ByteOrder>{"little", Spi::ByteOrder::LITTLE},
};
constexpr std::array WIDE_ACCESSES{
    Choice<Spi::WideAccess>{"little", Spi::WideAccess::LITTLE},
    Choice<Spi::WideAccess>{"big", Spi::WideAccess::BIG},
    Choice<Spi::WideAccess>{"refuse", Spi::WideAccess::REFUSE},
};
constexpr std::array READ_BACK_WAYS{
    Choice<Way>{"none", Way::NONE},
    Choice<Way>{"no_cs", Way::NO_CS},
    Choice<Way>{"cs_low", Way::CS_LOW},
};

template <class Value, std::size_t COUNT>
std::vector<std::string_view> wordsOf(const std::array<Choice<Value>, COUNT>& choices)
{
    std::vector<std::string_view> words;
    for (const Choice<Value>& choice : choices)
        words.push_back(choice.word);
    return words;
}

constexpr uint32_t ALL_MODE_BITS = 0xFF;

template <class Value, std::size_t COUNT>
Value choose(const Options& options, const char* name, const std::array<Choice<Value>, COUNT>& choices)
{
    const auto word = options[name].as<std::string>();
    for (const Choice<Value>& choice : choices)
        if (word == choice.word)
            return choice.value;
    OSL_RAISE(SPIError,
              fmt::format("option \"{}\": \"{}\" is not one of {}", name, word, fmt::join(wordsOf(choices), ", ")));
}

bool declares(const Options& options, const OptionDecl& declaration)
{
    return std::any_of(options.declarations().begin(), options.declarations().end(),
                       [&](const OptionDecl& other) { return std::string_view(other.names) == declaration.names; });
}

Spi::Framing framingFrom(Spi::Framing framing, const Options& options)
{
    const auto number = [&](const char* name, uint32_t& value) {
        if (options.count(name) != 0)
            value = options[name].as<uint32_t>();
    };
    number("addr_bits", framing.addressBits);
    number("data_bits", framing.dataBits);
    number("read_code", framing.readCode);
    number("write_code", framing.writeCode);
    number("dummy_bytes", framing.dummyBytes);
    if (options.count("byte_order") != 0)
        framing.byteOrder = choose(options, "byte_order", BYTE_ORDERS);
    if (options.count("multi_byte") != 0)
        framing.wideAccess = choose(options, "multi_byte", WIDE_ACCESSES);
    framing.burst = framing.burst || options.count("burst") != 0;
    return framing;
}

Spi::Max2871::ReadBack readBackFrom(const SpiTarget& target, const Options& options)
{
    Spi::Max2871::ReadBack readBack;
    readBack.way = choose(options, "r6_readback", READ_BACK_WAYS);
    const auto mode = options["r6_mode"].as<uint32_t>();
    if (mode > 1)
        target.fail(fmt::format("r6_mode: {} is not in 0..1", mode));
    readBack.sampleFalling = mode == 1;
    if (options.count("mux_r2") != options.count("mux_r5"))
        target.fail("mux_r2 and mux_r5 belong together: the MUX setting is spread over both registers");
    if (options.count("mux_r2") != 0)
        readBack.mux = {options["mux_r2"].as<uint32_t>(), options["mux_r5"].as<uint32_t>()};
    return readBack;
}

unsigned defaultWidth(const SpiTarget& target)
{
    switch (target.kind) {
    case SpiTarget::Kind::MAX2871:
        return 32;
    case SpiTarget::Kind::RAW:
        return 8;
    case SpiTarget::Kind::FPGA:
    case SpiTarget::Kind::MAX5868:
        break;
    }
    return target.framing.dataBits;
}

void checkBusSettings(const SpiTarget& target)
{
    const bool synthesiser = target.kind == SpiTarget::Kind::MAX2871;
    if (target.speedHz == 0)
        target.fail("speed: must be above 0 Hz");
    if (synthesiser && target.speedHz > Spi::Max2871::MAX_SPEED_HZ)
        target.fail(fmt::format("speed: {} Hz is above the {} Hz that the part supports", target.speedHz,
                                Spi::Max2871::MAX_SPEED_HZ));
    if (target.mode > ALL_MODE_BITS)
        target.fail(fmt::format("mode: {:#x} has bits other than {:#x}", target.mode, ALL_MODE_BITS));
    if (synthesiser && target.mode != 0)
        target.fail("mode: the part works in mode 0 only");
}

} // namespace

std::vector<std::string_view> spiSlaves() { return wordsOf(SLAVES); }
std::vector<std::string_view> spiByteOrders() { return wordsOf(BYTE_ORDERS); }
std::vector<std::string_view> spiWideAccesses() { return wordsOf(WIDE_ACCESSES); }
std::vector<std::string_view> spiReadBackWays() { return wordsOf(READ_BACK_WAYS); }

SpiTarget SpiTarget::from(const Options& options)
{
    for (const char* const name : {"slave", "device"})
        if (options.count(name) == 0)
            OSL_RAISE(SPIError, fmt::format("the option \"{}\" is missing. See help.", name));

    SpiTarget target = {};
    target.kind = choose(options, "slave", SLAVES);
    target.slave = options["slave"].as<std::string>();
    target.device = options["device"].as<std::string>();
    target.offset = options["offset"].as<uint32_t>();
    target.speedHz = options["speed"].as<uint32_t>();
    target.mode = options["mode"].as<uint32_t>();
    target.dryRun = options.count("dry_run") != 0;
    target.force = options.count("force") != 0;
    checkBusSettings(target);

    if (target.kind == Kind::FPGA || target.kind == Kind::MAX5868)
        target.framing = framingFrom(target.kind == Kind::FPGA ? Spi::FPGA_FRAMING : Spi::MAX5868_FRAMING, options);
    else
        for (const OptionDecl& declaration : SPI_FRAMING_OPTIONS)
            if (options.count(declaration.names) != 0)
                target.fail(fmt::format("the option \"{}\" does not apply to this slave", declaration.names));
    if (declares(options, SPI_READBACK_OPTIONS.front())) {
        target.allowOnly(Kind::MAX2871, options, SPI_READBACK_OPTIONS);
        target.readBack = readBackFrom(target, options);
    }

    target.width = options.count("width") != 0 ? options["width"].as<uint32_t>() : defaultWidth(target);
    if (target.width != 8 && target.width != 16 && target.width != 32)
        target.fail(fmt::format("access of {} bits at offset {} refused: the width must be 8, 16 or 32", target.width,
                                target.offset));
    return target;
}

void SpiTarget::allowOnly(Kind onlyFor, const Options& options, std::span<const OptionDecl> group) const
{
    for (const OptionDecl& declaration : group)
        if (kind != onlyFor && options.count(declaration.names) != 0)
            fail(fmt::format("the option \"{}\" does not apply to this slave", declaration.names));
}

void SpiTarget::fail(const std::string& text) const
{
    OSL_RAISE(SPIError, fmt::format("{}: {}: {}", device, slave, text));
}

std::unique_ptr<Spi::ISpiBus> SpiTarget::makeBus(std::string_view operation, std::ostream& out) const
{
    if (!dryRun)
        return std::make_unique<Spi::SpidevBus>(device, Spi::SpidevBus::Settings{.mode = mode, .speedHz = speedHz},
                                                Spi::SpiAccess{slave, operation, offset, width});
    out << fmt::format("mode {:#x}, {} Hz\n", mode, speedHz);
    return std::make_unique<SpiDryRunBus>(device, Spi::spidevBufferLimit(), out);
}

std::unique_ptr<Spi::Max2871> SpiTarget::makeSynthesiser(Spi::ISpiBus& bus, std::ostream& out) const
{
    const auto wait = [dry = dryRun, &out](std::chrono::milliseconds time) {
        if (dry)
            out << fmt::format("wait {} ms\n", time.count());
        else
            std::this_thread::sleep_for(time);
    };
    return std::make_unique<Spi::Max2871>(bus, readBack, wait);
}

std::unique_ptr<Spi::SPISlaveIF> SpiTarget::makeSlave(Spi::ISpiBus& bus, std::ostream& out) const
{
    if (kind == Kind::MAX2871)
        return makeSynthesiser(bus, out);
    if (kind == Kind::RAW)
        return std::make_unique<Spi::RawPort>(bus, force ? Spi::RawPort::Permission::TRANSFER
                                                         : Spi::RawPort::Permission::REFUSE);
    return std::make_unique<Spi::RegisterSlave>(bus, framing,
                                                force ? Spi::RegisterSlave::Unverified::ALLOW_WRITES
                                                      : Spi::RegisterSlave::Unverified::REFUSE_WRITES);
}

} // namespace Osl::Utils
