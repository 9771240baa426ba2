#include <osl/userspace_drivers/drivers/spi/max2871.h>

#include <fmt/format.h>

#include <algorithm>
#include <linux/spi/spidev.h>
#include <utility>

namespace Osl::Spi {
namespace {

constexpr uint32_t TAG_MASK = 7;
constexpr uint32_t WRITE_MODE = SPI_MODE_0;
constexpr std::chrono::milliseconds START_UP_WAIT{20};

/// Returns what `step` does, after `undo` has been run, which it is whatever becomes of the step.
template <class Step, class Undo>
auto thenUndo(const Step& step, const Undo& undo)
{
    try {
        const auto result = step();
        undo();
        return result;
    } catch (const SPIError& failure) {
        try {
            undo();
        } catch (const SPIError& second) {
            OSL_RAISE(SPIError,
                      fmt::format("{}; and the part is left switched for the read: {}", failure.what(), second.what()));
        }
        throw;
    }
}

} // namespace

Max2871::Max2871(ISpiBus& bus, const ReadBack& readBack, Wait wait)
    : SPISlaveIF(bus, NAME),
      m_ReadBack(readBack),
      m_Wait(std::move(wait))
{
    const SpiAccess access = reading(STATUS_REGISTER, registerBits());
    // Mode 1 moves the data line at the very edge at which the part takes it: the part may see everything a bit late,
    // and the end of the chip select would latch half the address, which is that of register 3.
    if (readBack.way == ReadBack::Way::CS_LOW && readBack.sampleFalling)
        refuse(access, "with the chip select active only the rising edge (mode 0) is safe");
    if (readBack.mux) {
        checkTag(access, 2, readBack.mux->register2);
        checkTag(access, 5, readBack.mux->register5);
    }
}

void Max2871::checkTag(const SpiAccess& access, uint32_t registerNumber, uint32_t word) const
{
    if ((word & TAG_MASK) != registerNumber)
        refuse(access,
               fmt::format("the word {:#010x} addresses register {}, not {}", word, word & TAG_MASK, registerNumber));
}

void Max2871::checkWrite(uint32_t offset, const std::vector<uint32_t>& values, unsigned width) const
{
    if (width != registerBits())
        refuse(writing(offset, width), "a register has 32 bits and is accessed as a whole");
    if (uint64_t{offset} + values.size() > WRITABLE_REGISTERS)
        refuse(writing(offset, width), offset <= STATUS_REGISTER && offset + values.size() == STATUS_REGISTER + 1
                                           ? "register 6 is read-only"
                                           : "only registers 0 to 5 can be written");
    for (uint32_t i = 0; i < values.size(); ++i)
        checkTag(writing(offset + i, width), offset + i, values[i]);
}

void Max2871::checkRead(uint32_t offset, uint32_t count, unsigned width) const
{
    const SpiAccess access = reading(offset, width);
    if (width != registerBits())
        refuse(access, "a register has 32 bits and is accessed as a whole");
    if (offset < STATUS_REGISTER)
        refuse(access, fmt::format("register {} is write-only; only register 6 can be read", offset));
    if (offset > STATUS_REGISTER || count > 1)
        refuse(access, "there is no register above 6");
    if (m_ReadBack.way == ReadBack::Way::NONE)
        refuse(access, "reading register 6 can disturb a running part, and which way is safe depends on the board; "
                       "choose \"no_cs\" or \"cs_low\" for \"r6_readback\"");
}

std::vector<uint32_t> Max2871::readWords(uint32_t offset, uint32_t count, unsigned width)
{
    checkRead(offset, count, width);
    return count == 0 ? std::vector<uint32_t>() : std::vector<uint32_t>{readStatus()};
}

void Max2871::writeWords(uint32_t offset, const std::vector<uint32_t>& values, unsigned width)
{
    checkWrite(offset, values, width);
    sendDescending(offset, values);
}

void Max2871::writeAndLatch(uint32_t offset, const std::vector<uint32_t>& values, uint32_t register0)
{
    checkWrite(offset, values, registerBits());
    checkWrite(0, {register0}, registerBits());
    sendDescending(offset, values);
    send(0, register0, writing(0, registerBits()));
}

void Max2871::startUp(const std::vector<uint32_t>& words)
{
    if (words.size() != WRITABLE_REGISTERS)
        refuse(writing(0, registerBits()), fmt::format("a start-up takes the {} words of registers 0 to 5, not {}",
                                                       WRITABLE_REGISTERS, words.size()));
    checkWrite(0, words, registerBits());
    send(5, words[5], writing(5, registerBits()));
    m_Wait(START_UP_WAIT);
    sendDescending(0, {words.begin(), words.begin() + 5});
    m_Wait(START_UP_WAIT);
    sendDescending(0, words);
}

void Max2871::send(uint32_t registerNumber, uint32_t word, const SpiAccess& access)
{
    const std::array<uint8_t, 4> bytes{static_cast<uint8_t>(word >> 24), static_cast<uint8_t>(word >> 16),
                                       static_cast<uint8_t>(word >> 8), static_cast<uint8_t>(word)};
    checkTag(access, registerNumber, word);
    const SpiSegment frame{bytes, {}};
    m_Bus.transfer({&frame, 1}, access);
}

void Max2871::sendDescending(uint32_t first, const std::vector<uint32_t>& words)
{
    for (auto i = static_cast<uint32_t>(words.size()); i-- > 0;)
        send(first + i, words[i], writing(first + i, registerBits()));
}

uint32_t Max2871::readStatus()
{
    const SpiAccess access = reading(STATUS_REGISTER, registerBits());
    if (clockMode() != WRITE_MODE) {
        // A controller that cannot do it, leaving the chip select alone above all, has to say so before anything is
        // sent.
        m_Bus.setMode(clockMode(), access);
        m_Bus.setMode(WRITE_MODE, access);
    }
    if (!m_ReadBack.mux)
        return clockOutStatus(access);

    const ReadBack::MuxWords& words = *m_ReadBack.mux;
    const auto readStatusWithMux = [&] {
        // Code 12: register 6 on the MUX output.
        send(5, words.register5 | MUX_HIGH.mask(), access);
        send(2, (words.register2 & ~MUX_LOW.mask()) | 4U << MUX_LOW.lsb, access);
        return clockOutStatus(access);
    };
    return thenUndo(readStatusWithMux, [&] {
        send(2, words.register2, access);
        send(5, words.register5, access);
    });
}

uint32_t Max2871::clockMode() const
{
    return (m_ReadBack.sampleFalling ? SPI_CPHA : 0) | (m_ReadBack.way == ReadBack::Way::NO_CS ? SPI_NO_CS : 0);
}

uint32_t Max2871::clockOutStatus(const SpiAccess& access)
{
    send(STATUS_REGISTER, STATUS_REGISTER, access);

    // Whatever the chip select does, what the part has shifted in at the end is the address of register 6 once more:
    // zeros would be register 0, which stops the synthesiser.
    const std::array<uint8_t, 5> out{0, 0, 0, 0, STATUS_REGISTER};
    std::array<uint8_t, 5> in{};
    const auto clock = [&] {
        const SpiSegment frame{out, in};
        m_Bus.transfer({&frame, 1}, access);
        return true;
    };
    if (clockMode() == WRITE_MODE) {
        clock();
    } else {
        m_Bus.setMode(clockMode(), access);
        thenUndo(clock, [&] { m_Bus.setMode(WRITE_MODE, access); });
    }

    // The part changes its output at rising edges and brings bit 31 at the second one, so that a falling edge first
    // sees it at the second clock, a rising one at the third.
    uint64_t bits = 0;
    for (const uint8_t byte : in)
        bits = bits << 8 | byte;
    const auto status = static_cast<uint32_t>(bits >> (m_ReadBack.sampleFalling ? 7 : 6));
    if (m_Bus.answers() && (status & TAG_MASK) != STATUS_REGISTER)
        OSL_RAISE(SPIError, fmt::format("{}: {} failed: {:#010x} came back, with address bits {} instead of 6. The MUX "
                                        "setting, the sampled edge or the wiring is wrong, or the part is missing",
                                        m_Bus.device(), toString(access), status, status & TAG_MASK));
    return status;
}

uint32_t Max2871::withField(uint32_t registerNumber, uint32_t word, std::string_view field, uint32_t value)
{
    std::string known;
    for (const Field& candidate : FIELDS) {
        if (candidate.word != registerNumber)
            continue;
        if (candidate.name != field) {
            known += fmt::format("{}{}", known.empty() ? "" : ", ", candidate.name);
            continue;
        }
        if (value > candidate.max())
            OSL_RAISE(SPIError, fmt::format("{}: {} is not in 0..{}, which field {} of register {} holds", NAME, value,
                                            candidate.max(), field, registerNumber));
        return (word & ~candidate.mask()) | value << candidate.lsb;
    }
    OSL_RAISE(SPIError, fmt::format("{}: register {} has no field {}; it has {}", NAME, registerNumber, field,
                                    known.empty() ? "none" : known));
}

} // namespace Osl::Spi
