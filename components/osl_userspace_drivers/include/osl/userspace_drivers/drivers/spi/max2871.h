#pragma once

#include <osl/userspace_drivers/drivers_misc/bitfield.h>
#include <osl/userspace_drivers/interfaces/spi/spislaveif.h>

#include <array>
#include <chrono>
#include <functional>
#include <optional>

namespace Osl::Spi {

/// The MAX2871 synthesiser: seven words of 32 bits, each with its register number in bits 2:0, sent most
/// significant bit first. The chip select is the part's latch: every word is a pulse of its own and takes effect at
/// its end. Registers 0 to 5 can only be written, register 6 only be read, through the part's MUX output.
class Max2871 final : public SPISlaveIF
{
public:
    static constexpr std::string_view NAME = "max2871";
    static constexpr uint32_t MAX_SPEED_HZ = 20'000'000;
    static constexpr uint32_t WRITABLE_REGISTERS = 6;
    static constexpr uint32_t STATUS_REGISTER = 6;

    using Field = Drivers::Misc::BitField;
    //                            name     register lsb width
    static constexpr Field MUX_LOW{"MUX", 2, 26, 3};
    static constexpr Field MUX_HIGH{"MUX3", 5, 18, 1}; ///< top bit of the MUX code
    // clang-format off
    /// What the registers hold; bits without a name are reserved.
    static constexpr std::array FIELDS{
        Field{"INT", 0, 31, 1},      Field{"N", 0, 15, 16},       Field{"FRAC", 0, 3, 12},
        Field{"CPL", 1, 29, 2},      Field{"CPT", 1, 27, 2},      Field{"P", 1, 15, 12},      Field{"M", 1, 3, 12},
        Field{"LDS", 2, 31, 1},      Field{"SDN", 2, 29, 2},      MUX_LOW,                    Field{"DBR", 2, 25, 1},
        Field{"RDIV2", 2, 24, 1},    Field{"R", 2, 14, 10},       Field{"REG4DB", 2, 13, 1},  Field{"CP", 2, 9, 4},
        Field{"LDF", 2, 8, 1},       Field{"LDP", 2, 7, 1},       Field{"PDP", 2, 6, 1},      Field{"SHDN", 2, 5, 1},
        Field{"TRI", 2, 4, 1},       Field{"RST", 2, 3, 1},
        Field{"VCO", 3, 26, 6},      Field{"VAS_SHDN", 3, 25, 1}, Field{"VAS_TEMP", 3, 24, 1}, Field{"CSM", 3, 18, 1},
        Field{"MUTEDEL", 3, 17, 1},  Field{"CDM", 3, 15, 2},      Field{"CDIV", 3, 3, 12},
        Field{"SDLDO", 4, 28, 1},    Field{"SDDIV", 4, 27, 1},    Field{"SDREF", 4, 26, 1},   Field{"BS98", 4, 24, 2},
        Field{"FB", 4, 23, 1},       Field{"DIVA", 4, 20, 3},     Field{"BS70", 4, 12, 8},    Field{"SDVCO", 4, 11, 1},
        Field{"MTLD", 4, 10, 1},     Field{"BDIV", 4, 9, 1},      Field{"RFB_EN", 4, 8, 1},   Field{"BPWR", 4, 6, 2},
        Field{"RFA_EN", 4, 5, 1},    Field{"APWR", 4, 3, 2},
        Field{"VAS_DLY", 5, 29, 2},  Field{"SDPLL", 5, 25, 1},    Field{"F01", 5, 24, 1},     Field{"LD", 5, 22, 2},
        MUX_HIGH,                    Field{"ADCS", 5, 6, 1},      Field{"ADCM", 5, 3, 3},
        Field{"DIE", 6, 28, 4},      Field{"POR", 6, 23, 1},      Field{"ADC", 6, 16, 7},     Field{"ADCV", 6, 15, 1},
        Field{"VASA", 6, 9, 1},      Field{"V", 6, 3, 6},
    };
    // clang-format on
    static_assert(Drivers::Misc::isSound<STATUS_REGISTER + 1>(FIELDS));

    /// How register 6 is read. Reading clocks the part after its address was latched and may need the MUX output
    /// switched, so which way is safe depends on the board and on what the part is doing.
    struct ReadBack
    {
        enum class Way {
            NONE,  ///< refuse
            NO_CS, ///< clock with the chip select left alone, as the part requires; few controllers can
            CS_LOW ///< clock with the chip select active, the address sent once more at the end so that only it latches
        };
        /// Words of registers 2 and 5 that the part runs with.
        struct MuxWords
        {
            uint32_t register2;
            uint32_t register5;
        };

        Way way = Way::NONE;
        bool sampleFalling = false;  ///< take bits at the falling edge (SPI mode 1) instead of the rising one
        std::optional<MuxWords> mux; ///< to switch MUX before the read, and back after it; absent: never switched
    };

    using Wait = std::function<void(std::chrono::milliseconds)>;

    /// `wait` sleeps. Raises SPIError when `readBack` could latch something else than the address of register 6.
    Max2871(ISpiBus& bus, const ReadBack& readBack, Wait wait);

    unsigned registerBits() const override { return 32; }
    void checkRead(uint32_t offset, uint32_t count, unsigned width) const override;

    /// Powers the part up with the words of registers 0 to 5: register 5, 20 ms, 4 to 0, 20 ms, then 5 to 0 again,
    /// which starts the VCO's selection. Interrupts the output of a running part.
    void startUp(const std::vector<uint32_t>& words);

    /// Writes a block as writeBlock32() does, then register 0, which makes double-buffered fields take effect.
    void writeAndLatch(uint32_t offset, const std::vector<uint32_t>& values, uint32_t register0);

    /// `word` of `register` with the named field set. Raises SPIError for fields that the register does not have,
    /// naming those that it has, and for values that the field cannot hold.
    static uint32_t withField(uint32_t registerNumber, uint32_t word, std::string_view field, uint32_t value);

private:
    std::vector<uint32_t> readWords(uint32_t offset, uint32_t count, unsigned width) override;
    /// In descending order, register 0 last: writing that one is what makes double-buffered fields take effect.
    void writeWords(uint32_t offset, const std::vector<uint32_t>& values, unsigned width) override;

    void checkWrite(uint32_t offset, const std::vector<uint32_t>& values, unsigned width) const;
    void checkTag(const SpiAccess& access, uint32_t registerNumber, uint32_t word) const;
    void send(uint32_t registerNumber, uint32_t word, const SpiAccess& access);
    void sendDescending(uint32_t first, const std::vector<uint32_t>& words);
    uint32_t clockMode() const;
    uint32_t readStatus();
    uint32_t clockOutStatus(const SpiAccess& access);

    ReadBack m_ReadBack;
    Wait m_Wait;
};

} // namespace Osl::Spi
