#pragma once

#include "zeb_fpga_shell/cli/options.h"

#include <osl/userspace_drivers/drivers/spi/max2871.h>
#include <osl/userspace_drivers/interfaces/spi/registerslave.h>

#include <array>
#include <memory>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

namespace Osl::Utils {

// The words of the options below.
std::vector<std::string_view> spiSlaves();
std::vector<std::string_view> spiByteOrders();
std::vector<std::string_view> spiWideAccesses();
std::vector<std::string_view> spiReadBackWays();

/// The options that say which slave is meant and how it is reached; shared by the SPI commands.
inline constexpr std::array SPI_TARGET_OPTIONS{
    OptionDecl{"s,slave", OptionKind::TEXT, "Device to access: fpga, max2871, max5868 or raw. Mandatory.", nullptr,
               spiSlaves},
    OptionDecl{"d,device", OptionKind::PATH, "spidev node, such as /dev/spidev0.0. Mandatory."},
    OptionDecl{"o,offset", OptionKind::NUMBER, "Read/write Offset in words. Prefix with \"0x\" for hex.", "0"},
    OptionDecl{"w,width", OptionKind::NUMBER,
               "Word width in bits: 8, 16 or 32. Default: that of the slave's registers."},
};

inline constexpr std::array SPI_BUS_OPTIONS{
    OptionDecl{"speed", OptionKind::NUMBER, "Clock in Hz. For max2871 at most 20000000.", "1000000"},
    OptionDecl{"mode", OptionKind::NUMBER,
               "Bus mode bits: CPHA 1, CPOL 2, CS high 4, LSB first 8, three-wire 0x10. Only 0 for max2871.", "0"},
    OptionDecl{"dry_run", OptionKind::FLAG, "Show the bytes that would be sent; send none, open nothing."},
    OptionDecl{"force", OptionKind::FLAG,
               "Write even though the slave's framing is unverified (fpga, max5868); transfer raw bytes."},
};

/// What differs from the framing that fpga and max5868 are taken to have.
inline constexpr std::array SPI_FRAMING_OPTIONS{
    OptionDecl{"addr_bits", OptionKind::NUMBER,
               "Width of addresses. fpga: 8, 16 (default), 24, 32; max5868: 7 "
               "(default), 15, 23, 31."},
    OptionDecl{"data_bits", OptionKind::NUMBER, "Width of registers: 8, 16 or 32. Default: fpga 32, max5868 8."},
    OptionDecl{"read_code", OptionKind::NUMBER,
               "Code before the address of a read: for fpga a byte (default 3), for max5868 a bit (default 1)."},
    OptionDecl{"write_code", OptionKind::NUMBER, "Code before the address of a write. Default: fpga 2, max5868 0."},
    OptionDecl{"dummy_bytes", OptionKind::NUMBER, "Bytes between address and data of a read, 0 to 16. Default: 0."},
    OptionDecl{"byte_order", OptionKind::TEXT, "Byte order of a register: big (default) or little.", nullptr,
               spiByteOrders},
    OptionDecl{
        "multi_byte", OptionKind::TEXT,
        "Order of registers in a wider access: little (default; the lowest is least significant), big, or refuse.",
        nullptr, spiWideAccesses},
    OptionDecl{"burst", OptionKind::FLAG, "The slave increments addresses: send a block in one frame."},
};

/// How register 6 of max2871 is read.
inline constexpr std::array SPI_READBACK_OPTIONS{
    OptionDecl{"r6_readback", OptionKind::TEXT,
               "max2871: way to clock register 6 out: none, no_cs (chip select left alone; few controllers can) or "
               "cs_low (chip select active).",
               "none", spiReadBackWays},
    OptionDecl{"r6_mode", OptionKind::NUMBER,
               "max2871: SPI mode that register 6 is clocked out in: 0, or 1 (no_cs only).", "0"},
    OptionDecl{"mux_r2", OptionKind::NUMBER,
               "max2871: word that register 2 holds. With mux_r5: switches the MUX output to register 6 and back."},
    OptionDecl{"mux_r5", OptionKind::NUMBER, "max2871: word that register 5 holds."},
};

/// Which slave is meant and how it is reached.
struct SpiTarget
{
    enum class Kind { FPGA, MAX2871, MAX5868, RAW };

    /// Reads and checks the options; raises SPIError. An option of the groups above that the command does not declare
    /// keeps its default.
    static SpiTarget from(const Options& options);

    /// The position: the spidev node, opened, or for a dry run one that writes the bytes to `out`.
    /// `operation`, "read" or "write", is what it is opened for.
    std::unique_ptr<Spi::ISpiBus> makeBus(std::string_view operation, std::ostream& out) const;
    /// The slave as memory; `bus` must outlive it.
    std::unique_ptr<Spi::SPISlaveIF> makeSlave(Spi::ISpiBus& bus, std::ostream& out) const;
    /// The same for a synthesiser, with what only that can do.
    std::unique_ptr<Spi::Max2871> makeSynthesiser(Spi::ISpiBus& bus, std::ostream& out) const;

    /// Raises SPIError that names slave and device.
    [[noreturn]] void fail(const std::string& text) const;
    /// Raises SPIError when an option of `group` was given, which only slaves of `kind` have.
    void allowOnly(Kind onlyFor, const Options& options, std::span<const OptionDecl> group) const;

    Kind kind;
    std::string slave;
    std::string device;
    uint32_t offset;
    unsigned width; ///< bits
    uint32_t speedHz;
    uint32_t mode;
    bool dryRun;
    bool force;
    Spi::Framing framing; ///< of kinds FPGA and MAX5868
    Spi::Max2871::ReadBack readBack;
};

} // namespace Osl::Utils
